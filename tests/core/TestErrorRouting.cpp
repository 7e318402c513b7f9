#include "DictationDesk.h"

#include <gmock/gmock.h>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Case = CaptureStatus::Case;
using Place = ErrorResolutionDestination::Place;

TEST(ErrorRouting, EachDestinationLeadsToItsPlaceAndBringsTheWindow)
{
    struct Row {
        Place place;
        AppSection section;
        SettingsArea area;
        int requests;
    };
    const Row rows[] = {
        {Place::DictationModels, AppSection::Models, SettingsArea::Shortcuts, 0},
        {Place::CommandModels, AppSection::Models, SettingsArea::Shortcuts, 0},
        {Place::CommandSettings, AppSection::Settings, SettingsArea::Behaviour, 0},
        {Place::APIKeys, AppSection::Settings, SettingsArea::Account, 0},
        {Place::Permissions, AppSection::Settings, SettingsArea::Account, 1},
    };
    for (const Row& row : rows) {
        DictationDesk d;
        int forward = 0;
        QObject::connect(&d.app->navigation, &Navigation::mainWindowRequested, [&forward] { ++forward; });
        ErrorResolution resolution(u"It failed."_s, row.place);
        resolution.destination.provider = AgentWritingProvider::Mistral;
        d.app->errors.setErrorResolution(resolution);
        d.app->errors.routeToErrorResolution();
        EXPECT_EQ(d.app->navigation.selectedSection(), row.section);
        EXPECT_EQ(d.app->navigation.selectedSettingsArea(), row.area);
        EXPECT_EQ(d.app->errors.permissionAttentionRequest(), row.requests);
        EXPECT_EQ(d.app->navigation.selectedAPIKeyProvider(),
            row.place == Place::APIKeys ? AgentWritingProvider::Mistral : AgentWritingProvider::OpenAI);
        EXPECT_EQ(forward, 1);
    }
}

TEST(ErrorRouting, TapEndsAPermissionErrorAndLeavesOthersStanding)
{
    DictationDesk d;
    d.app->errors.handleOverlayTap(); // nothing failed
    EXPECT_EQ(d.app->errors.permissionAttentionRequest(), 0);

    d.microphone.setMicrophone(false);
    d.toggle();
    const auto first = d.app->errors.errorResolution();
    d.app->errors.handleOverlayTap();
    EXPECT_EQ(d.state(), Case::Idle);
    EXPECT_FALSE(d.app->overlay.isPresented());
    d.toggle();
    EXPECT_NE(d.app->errors.errorResolution()->id, first->id);
    d.app->errors.handleOverlayTap();

    d.microphone.setMicrophone(true);
    d.app->preferences.setSelectedModelID(u"nothing"_s);
    d.toggle();
    d.app->errors.handleOverlayTap();
    EXPECT_FALSE(d.app->overlay.isPresented());
    d.desk.clock.advance(10);
    EXPECT_EQ(d.state(), Case::Error);
    d.app->preferences.setSelectedModelID(u"pocket"_s);
    d.toggle();
    EXPECT_EQ(d.state(), Case::Recording);
    EXPECT_FALSE(d.app->errors.errorResolution());
    d.app->errors.handleOverlayTap(); // a running session is not disturbed
    EXPECT_TRUE(d.app->overlay.isPresented());
}

} // namespace
} // namespace tallowfern
