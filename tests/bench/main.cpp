// SPDX-License-Identifier: MIT
#include "app/application_style.h"
#include "tests/bench/comparison.h"
#include "tests/model/sample_state.h"

#include <QApplication>

using namespace tavik;
using namespace tavik::bench;

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const tests::OwnConfiguration configuration;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(configuration.path()));
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (runAsContestant(arguments))
        return 0;

    applyApplicationStyle(application);
    const Effort effort = arguments.contains("--smoke") ? Effort::Smoke : Effort::Full;
    const Output output = arguments.contains("--json") ? Output::Json : Output::Table;
    runComparisons(startComparisons() + commandComparisons() + drawingComparisons(effort) +
                       screenComparisons(effort) + stateComparisons() + wireComparisons(effort) +
                       idleComparisons(effort),
                   effort, output);
    return 0;
}
