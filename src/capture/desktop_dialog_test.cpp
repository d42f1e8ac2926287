// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/desktop_dialog.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

using platform::ContentPicker;
using platform::PointerKnowledge;

TEST(DesktopDialog, OnlyWhatItDoesNotOfferIsRefused) {
    const ContentPicker::Offer screens{true, false, PointerKnowledge::positions, true};
    EXPECT_FALSE(dialogRefusal(ContentPicker::Kind::display, screens));
    EXPECT_EQ(dialogRefusal(ContentPicker::Kind::window, screens),
              "Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster.");
    const ContentPicker::Offer windows{false, true, PointerKnowledge::positions, true};
    EXPECT_FALSE(dialogRefusal(ContentPicker::Kind::window, windows));
    EXPECT_EQ(dialogRefusal(ContentPicker::Kind::display, windows),
              "Dieser Desktop gibt nur einzelne Fenster frei, keine ganzen Bildschirme.");
}

TEST(DesktopDialog, SaysInOneLineWhatIsNotKnownOfThePointer) {
    EXPECT_EQ(pointerRemark(PointerKnowledge::complete), std::nullopt);
    EXPECT_EQ(
        pointerRemark(PointerKnowledge::positions),
        "Klicks lassen sich hier nicht sehen; die Aufnahme enthält nur Mausbewegungen. Siehe „lumivastor doctor“.");
    EXPECT_EQ(pointerRemark(PointerKnowledge::embedded),
              "Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild.");
    EXPECT_EQ(pointerRemark(PointerKnowledge::none),
              "Dieser Desktop verrät nicht, wo der Mauszeiger ist; er fehlt in der Aufnahme.");
}

}  // namespace
}  // namespace lumivastor::capture
