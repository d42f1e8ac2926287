// SPDX-License-Identifier: GPL-3.0-or-later

// The main function of benchmarks with windows, which need no display.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <cstdlib>

#include "ui/theme.h"

int main(int argc, char** argv) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is running yet
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication application(argc, argv);
    lumivastor::ui::theme::apply(application);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
