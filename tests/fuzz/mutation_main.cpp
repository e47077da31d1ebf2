// SPDX-License-Identifier: MIT
// Takes libFuzzer's place where there is none. "TARGET ROUNDS" checks the seeds and then that many
// mutations of them, the same ones in every run; "TARGET FILE..." checks the files alone.

#include "tests/fuzz/fuzz_target.h"
#include "tests/support/files.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QStringList>

#include <algorithm>
#include <cstdio>

using namespace tavik::tests;

namespace {

// A piece of up to 64 bytes, from anywhere.
QByteArray pieceOf(const QByteArray& bytes, QRandomGenerator& random)
{
    const auto start = random.bounded(bytes.size() + 1);
    return bytes.mid(start, random.bounded(qsizetype{65}));
}

QByteArray mutated(const QByteArrayList& all, QRandomGenerator& random)
{
    const auto anySeed = [&] { return all.at(random.bounded(all.size())); };
    QByteArray input = anySeed();
    for (int changes = 1 + random.bounded(8); changes > 0; --changes) {
        const auto place = random.bounded(input.size() + 1);
        const auto any = static_cast<char>(random.bounded(256));
        switch (random.bounded(6)) {
        case 0:
            if (place < input.size())
                input[place] = any;
            break;
        case 1:
            if (place < input.size())
                input[place] = static_cast<char>(input.at(place) ^ (1 << random.bounded(8)));
            break;
        case 2:
            input.remove(place, random.bounded(qsizetype{65}));
            break;
        case 3:
            input.insert(place, random.bounded(qsizetype{65}), any);
            break;
        case 4:
            input.insert(place, pieceOf(anySeed(), random));
            break;
        default:
            input.insert(place, pieceOf(input, random));
            break;
        }
    }
    return input;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    bool isCount = false;
    const int rounds = arguments.value(0).toInt(&isCount);
    if (!isCount) {
        for (const QString& path : arguments)
            check(readFile(path));
        return arguments.isEmpty() ? 1 : 0;
    }
    // Whatever ends the process, the input that did it stays behind.
    const QString kept = QCoreApplication::applicationName() + QStringLiteral(".input");
    const QByteArrayList all = seeds();
    QRandomGenerator random(1);
    for (qsizetype round = 0; round < all.size() + rounds; ++round) {
        const QByteArray input = round < all.size() ? all.at(round) : mutated(all, random);
        writeFile(kept, input);
        check(input);
    }
    QFile::remove(kept);
    std::printf("%lld seeds and %d mutations\n", static_cast<long long>(all.size()), rounds);
    return 0;
}
