#include "app/windows/main_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <string>

#include "app/windows/panels.h"
#include "editor/look.h"
#include "support/fitting_texts.h"

namespace lumivastor {
namespace {

class MainWindowTest : public testing::TestWithParam<double> {
  protected:
    // With type as large as the parameter says, in points.
    MainWindowTest() {
        look::apply(application_);
        QFont font = QApplication::font();
        font.setPointSizeF(GetParam());
        QApplication::setFont(font);
    }

    // No text that can be seen is wider or higher than its place, and no place is outside of what holds it.
    static void expectNothingIsCutOff(const QWidget& window) {
        QApplication::processEvents();
        EXPECT_GT(expectTextsFit(window), 1);
    }

    static MainWindowState fullState() {
        MainWindowState state;
        state.sourceItems = {"Bildschirm 1 – 1920×1080 px"};
        state.choices.sourceIndex = 0;
        state.status = "1\n2\n3\n4\n5";
        return state;
    }

  private:
    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    const bool offscreen_ = qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application_{count_, words_};
};

TEST_P(MainWindowTest, IsAsLargeAsLaidDown) {
    MainWindow window({});
    window.setVisible(true);
    window.show(fullState());
    if (GetParam() > 10) {
        EXPECT_GE(window.width(), 580);
        EXPECT_GE(window.height(), 634);
    } else {
        EXPECT_EQ(window.size(), QSize(580, 634));
    }
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
    expectNothingIsCutOff(window);
}

TEST_P(MainWindowTest, OneNoticeFitsInAndMoreMakeItHigher) {
    MainWindow window({});
    window.setVisible(true);
    MainWindowState state = fullState();
    state.notices[NoticeKind::interrupted] = {"Eine Aufnahme wurde unterbrochen: 2025-03-14_09-05-33", "Abschließen"};
    window.show(state);
    if (GetParam() <= 10) {
        EXPECT_EQ(window.height(), 634);
    }
    expectNothingIsCutOff(window);
    state.notices[NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
    state.notices[NoticeKind::recording] = {
        "Die Aufnahme wurde vom System beendet: Das aufgenommene Fenster wurde geschlossen.", ""};
    state.progress = 0.5;
    window.show(state);
    expectNothingIsCutOff(window);
    window.show(fullState());
    if (GetParam() <= 10) {
        EXPECT_EQ(window.size(), QSize(580, 634));
    }
    expectNothingIsCutOff(window);
}

TEST_P(MainWindowTest, PanelsHoldTheirTextsWhateverTheType) {
    QScreen& screen = *QGuiApplication::primaryScreen();
    RegionArmPanel arm(
        screen, [] {}, [] {});
    arm.setVisible(true);
    EXPECT_EQ(arm.size(), QSize(430, 56));
    expectNothingIsCutOff(arm);
    RecordingPanel panel(screen, nullptr, [] {});
    panel.setTime("125:00");
    panel.setVisible(true);
    EXPECT_EQ(panel.size(), QSize(190, 44));
    expectNothingIsCutOff(panel);
    RecordingPanel withCamera(screen, std::make_shared<WebcamPreview>(), [] {});
    withCamera.setVisible(true);
    EXPECT_EQ(withCamera.size(), QSize(254, 60));
    expectNothingIsCutOff(withCamera);
}

INSTANTIATE_TEST_SUITE_P(TypeSizes, MainWindowTest, testing::Values(9.0, 10.0, 14.0));

}  // namespace
}  // namespace lumivastor
