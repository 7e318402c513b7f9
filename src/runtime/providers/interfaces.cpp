#include "runtime/providers/AnswerRequest.h"
