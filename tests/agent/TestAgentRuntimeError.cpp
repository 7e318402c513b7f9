#include "agent/protocol/AgentRuntimeError.h"

#include <gtest/gtest.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Cause = AgentRuntimeError::Cause;

TEST(AgentRuntimeError, EveryCauseHasItsSentence)
{
    const std::pair<AgentRuntimeError, QString> cases[] = {
        {AgentRuntimeError::cloudRequestLimitReached(10),
            u"Tallowfern paused cloud requests after 10 commands in one minute. Wait briefly and try again."_s},
        {AgentRuntimeError::writingModelUnavailable(u"100 %1"_s), u"100 %1"_s},
        {AgentRuntimeError::modelImportFailed(u"It broke."_s), u"It broke."_s},
        {AgentRuntimeError(Cause::Busy), u"Command is already working."_s},
        {AgentRuntimeError(Cause::SpeechModelUnavailable), u"Download the selected speech model first."_s},
        {AgentRuntimeError(Cause::ScreenshotsUnsupported),
            u"Switch to an image-capable model to include a screenshot."_s},
        {AgentRuntimeError(Cause::ScreenRecordingDenied),
            u"Screen Recording access is required for the screenshot shortcut."_s},
        {AgentRuntimeError(Cause::NoInstruction), u"No instruction was detected."_s},
        {AgentRuntimeError(Cause::ContextTooLarge), u"The selected context is too large for this writing model."_s},
        {AgentRuntimeError(Cause::RuntimeMissing), u"The bundled Command runtime is missing."_s},
        {AgentRuntimeError(Cause::InvalidRuntimeResponse), u"Command returned an invalid response."_s},
    };
    for (const auto& [error, sentence] : cases)
        EXPECT_EQ(error.description(), sentence);
}

} // namespace
} // namespace tallowfern
