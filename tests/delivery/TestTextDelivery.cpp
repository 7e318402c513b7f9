#include "delivery/TextDelivery.h"
#include "fakes/Desk.h"
#include "support/Await.h"

#include <gmock/gmock.h>

#include <functional>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using testing_support::start;

class PasteDesk : public Desk {
public:
    RunningApplication editor = windows.open(u"Editor"_s);
    RunningApplication other = windows.open(u"Other"_s); // in front
    std::optional<RunningApplication> target = editor;
    std::unique_ptr<TextDelivery> delivery = std::make_unique<TextDelivery>(windows, keys, clock);
    double seconds = 0; ///< that the paste took

    PasteDesk() { clipboard.replaceText(u"words"_s); }

    bool paste()
    {
        const double begin = clock.now();
        const auto pasted = start(delivery->paste(target));
        while (!pasted.isDone())
            clock.advance(0.001);
        seconds = clock.now() - begin;
        clock.advance(1);
        return pasted.value();
    }
};

TEST(TextDelivery, TimesOfADelivery)
{
    struct Case {
        const char* name;
        std::function<void(PasteDesk&)> arrange;
        double seconds;
        int activations;
    };
    const Case cases[] = {
        {"in front already", [](PasteDesk& d) { d.windows.comesToFront(d.editor); }, 0.225, 0},
        {"comes to front", [](PasteDesk& d) { d.windows.activationSeconds = 0.3; }, 0.525, 1},
        {"comes just in time", [](PasteDesk& d) { d.windows.activationSeconds = 0.499; }, 0.724, 1},
        {"another passes by first",
            [](PasteDesk& d) {
                d.windows.activationSeconds = 0.3;
                d.after(0.1, [&d] { d.windows.desktopTakesFocus(); });
            },
            0.525, 1},
        {"hot key still held",
            [](PasteDesk& d) {
                d.windows.comesToFront(d.editor);
                d.keys.modifiersHeldSeconds = 0.4;
            },
            0.625, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PasteDesk desk;
        c.arrange(desk);
        EXPECT_TRUE(desk.paste());
        EXPECT_EQ(desk.windows.textIn(desk.editor), u"words"_s);
        EXPECT_EQ(desk.windows.textIn(desk.other), QString());
        EXPECT_NEAR(desk.seconds, c.seconds, 0.002);
        EXPECT_EQ(desk.windows.activations, c.activations);
    }
}

TEST(TextDelivery, NothingIsTypedIntoAWindowThatIsNotTheTarget)
{
    struct Case {
        const char* name;
        std::function<void(PasteDesk&)> arrange;
        double seconds; ///< at most
        int activations;
    };
    const auto inFront = [](PasteDesk& d) { d.windows.comesToFront(d.editor); };
    const Case cases[] = {
        {"chords cannot be posted", [](PasteDesk& d) { d.keys.canPostChords = false; }, 0, 0},
        {"no target", [](PasteDesk& d) { d.target.reset(); }, 0, 0},
        {"terminated", [](PasteDesk& d) { d.windows.close(d.editor); }, 0, 0},
        {"never comes to front", [](PasteDesk& d) { d.windows.refusesActivation = true; }, 0.5, 1},
        {"comes too late", [](PasteDesk& d) { d.windows.activationSeconds = 0.51; }, 0.5, 1},
        {"another window of the same program comes",
            [](PasteDesk& d) {
                d.windows.refusesActivation = true;
                d.windows.open(u"Editor"_s);
            },
            0.5, 1},
        {"closes while it is awaited",
            [](PasteDesk& d) {
                d.windows.activationSeconds = 0.3;
                d.after(0.1, [&d] { d.windows.close(d.editor); });
                d.after(0.1, [&d] { d.windows.desktopTakesFocus(); });
            },
            0.1, 1},
        {"loses the focus before the chord",
            [&](PasteDesk& d) {
                inFront(d);
                d.after(0.05, [&d] { d.windows.comesToFront(d.other); });
            },
            0.075, 0},
        {"loses the focus while the hot key is held",
            [&](PasteDesk& d) {
                inFront(d);
                d.keys.modifiersHeldSeconds = 0.4;
                d.after(0.3, [&d] { d.windows.comesToFront(d.other); });
            },
            0.475, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PasteDesk desk;
        c.arrange(desk);
        EXPECT_FALSE(desk.paste());
        EXPECT_TRUE(desk.keys.pastes.isEmpty());
        EXPECT_EQ(desk.clipboard.text(), u"words"_s);
        EXPECT_NEAR(desk.seconds, c.seconds, 0.002);
        EXPECT_EQ(desk.windows.activations, c.activations);
    }
}

TEST(TextDelivery, EndOfTheOwnerEndsThePaste)
{
    for (const double seconds : {0.1, 0.35, 0.4, 0.5}) { // activating, settling, holding the hot key, posted
        PasteDesk desk;
        desk.windows.activationSeconds = 0.3;
        desk.keys.modifiersHeldSeconds = 0.05;
        desk.after(seconds, [&] { desk.delivery.reset(); });
        const auto pasted = start(desk.delivery->paste(desk.target));
        desk.clock.advance(2);
        EXPECT_TRUE(pasted.isDone());
        EXPECT_EQ(pasted.value(), desk.keys.pastes.size() == 1);
        EXPECT_EQ(desk.keys.pastes.isEmpty(), seconds < 0.375); // the poster finishes what it was given
    }
}

} // namespace
} // namespace tallowfern
