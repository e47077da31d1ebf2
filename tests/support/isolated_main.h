// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <memory>

namespace tavik::tests {

// Runs one test object. Without arguments every test function, and every row of its data, gets a
// process and a configuration directory of its own: Device and AppState exist once per process, so
// no case can see what another one left in them. With arguments it behaves as Qt Test does.
// The application object is a QApplication without a display.
int runIsolated(int argc, char* argv[], std::unique_ptr<QObject> (*createTest)());

} // namespace tavik::tests

// Takes the place of QTEST_MAIN in a test of anything that touches a singleton.
#define TAVIK_ISOLATED_TEST_MAIN(TestClass)                                                        \
    int main(int argc, char* argv[])                                                               \
    {                                                                                              \
        return tavik::tests::runIsolated(argc, argv, []() -> std::unique_ptr<QObject> {            \
            return std::make_unique<TestClass>();                                                  \
        });                                                                                        \
    }
