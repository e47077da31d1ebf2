// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/files.h"

#include <QString>

#include <cstddef>
#include <cstdlib>
#include <cstring>

using namespace tavik::tests;

// "--seeds DIRECTORY" writes the inputs to start from and ends.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    if (*argc != 3 || std::strcmp((*argv)[1], "--seeds") != 0)
        return 0;
    const QString directory = QString::fromLocal8Bit((*argv)[2]);
    int number = 0;
    for (const QByteArray& seed : seeds())
        writeFile(QStringLiteral("%1/seed-%2").arg(directory).arg(++number), seed);
    std::exit(0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    check({reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)});
    return 0;
}
