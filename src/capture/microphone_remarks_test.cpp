// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/microphone_remarks.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace lumivastor::capture {
namespace {

using enum platform::MicrophoneTrouble;

TEST(MicrophoneRemarks, EveryTroubleHasASentenceOfItsOwn) {
    std::set<std::string> hints;
    for (const auto trouble : std::array{muted, monitor, replaced, noSignal, onlyNoise, clipping}) {
        const std::string hint = microphoneHint({trouble, "Headset"});
        EXPECT_TRUE(hint.ends_with(".")) << hint;
        EXPECT_LT(hint.size(), 90u) << "a line in the panel: " << hint;
        hints.insert(hint);
    }
    EXPECT_EQ(hints.size(), 6u);
    EXPECT_EQ(microphoneHint({none, "Headset"}), "");
    EXPECT_EQ(microphoneHint({muted, ""}), "Das Mikrofon ist stumm geschaltet.");
}

TEST(MicrophoneRemarks, ATroubleIsSaidOnceAndSeenWhileItLasts) {
    MicrophoneRemarks remarks;
    EXPECT_EQ(remarks.take({}, 4), std::nullopt);
    EXPECT_EQ(remarks.take({noSignal, "Headset"}, 8), "Vom Mikrofon „Headset“ kommt kein Signal.");
    EXPECT_EQ(remarks.take({noSignal, "Headset"}, 10), std::nullopt);
    EXPECT_EQ(remarks.hint(), "Vom Mikrofon „Headset“ kommt kein Signal.");
    EXPECT_EQ(remarks.take({none, "Headset"}, 12), std::nullopt);
    EXPECT_EQ(remarks.hint(), "");
    EXPECT_EQ(remarks.take({noSignal, "Headset"}, 30), std::nullopt) << "said before";
    EXPECT_EQ(remarks.hint(), "Vom Mikrofon „Headset“ kommt kein Signal.");
    EXPECT_EQ(remarks.take({muted, "Headset"}, 31), "Das Mikrofon „Headset“ ist stumm geschaltet.");
}

TEST(MicrophoneRemarks, TheEndSaysWhenAndHowLong) {
    MicrophoneRemarks remarks;
    EXPECT_EQ(remarks.summary(), "");
    remarks.take({noSignal, "Headset"}, 70);
    remarks.take({none, "Headset"}, 75);
    remarks.take({muted, "Headset"}, 80);
    remarks.take({muted, "Headset"}, 100);
    EXPECT_EQ(remarks.summary(),
              "Das Mikrofon „Headset“ war stumm geschaltet (ab 1:20, 20 s lang).\n"
              "Vom Mikrofon „Headset“ kam kein Signal (ab 1:05, 10 s lang).");
}

}  // namespace
}  // namespace lumivastor::capture
