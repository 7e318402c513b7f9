#pragma once

#include "control/AskArguments.h"

#include <QString>

namespace tallowfern {

/// Has the writing model answer on the standard output, turn by turn, without the application. Its turns are kept where
/// Command's are; its conversation is no entry of the history. The exit status of the process.
int ask(const control::AskArguments& asked, const QString& libexecFolder);

} // namespace tallowfern
