// SPDX-License-Identifier: MIT
#include "model/app_state.h"
#include "tests/bench/comparison.h"
#include "tests/support/files.h"

#include <QJsonDocument>

namespace tavik::bench {

namespace {

SavedState stateWith(int macros)
{
    SavedState state;
    for (int index = 0; index < macros; ++index) {
        MacroRecord macro{QStringLiteral("Macro %1").arg(index), {}};
        for (int action = 0; action < 100; ++action)
            macro.actions.append(
                {static_cast<std::uint16_t>(action * 7), static_cast<std::uint8_t>(action), 0xB0});
        state.macros.append(macro);
    }
    return state;
}

QList<Comparison> stateOf(int macros)
{
    const SavedState state = stateWith(macros);
    const QByteArray bytes = stateToJson(state);
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const int calls = macros > 100 ? 1 : 5;
    const auto takeOver = [state] { static_cast<SavedState&>(AppState::instance()) = state; };
    const Comparison save{
        {{QStringLiteral("save %1 macros").arg(macros), "ms", Goal{1.2, 0}}},
        11,
        [=] {
            takeOver();
            return QList{processorTime([] { AppState::instance().save(); }, calls)};
        },
        [=] {
            const QString path = stateFilePath() + ".least";
            return QList{processorTime([&] { tests::writeFile(path, document.toJson()); }, calls)};
        }};
    const Comparison load{
        {{QStringLiteral("load %1 macros").arg(macros), "ms", {}}},
        11,
        [=] {
            takeOver();
            AppState::instance().save();
            return QList{processorTime([] { AppState::instance().load(); }, calls)};
        },
        [=] {
            return QList{processorTime(
                [&] { require(QJsonDocument::fromJson(bytes).isObject(), "no object"); }, calls)};
        }};
    return {save, load};
}

} // namespace

QList<Comparison> stateComparisons()
{
    return stateOf(0) + stateOf(100) + stateOf(1000);
}

} // namespace tavik::bench
