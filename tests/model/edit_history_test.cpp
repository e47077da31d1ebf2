// SPDX-License-Identifier: MIT
#include "model/edit_history.h"
#include "model/state_copies.h"
#include "tests/model/sample_state.h"

#include <QSignalSpy>
#include <QTest>

using namespace tavik;
using namespace tavik::tests;

namespace {

SavedState& fields()
{
    return AppState::instance();
}

EditHistory& history()
{
    return EditHistory::instance();
}

void replaceBy(const SavedState& state, const QString& name = QStringLiteral("Edit"))
{
    history().edit(StatePart::Everything, name, [&](SavedState& present) { present = state; });
}

} // namespace

class EditHistoryTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        configuration.clear();
        history().clear();
        fields() = SavedState{};
    }

    void editIsSavedAndIsAStepOfItsName()
    {
        replaceBy(stateWith(1), QStringLiteral("Assign A"));
        QCOMPARE(fields().customRgb[0], 1);
        QCOMPARE(readFile(stateFilePath()), stateToJson(stateWith(1)));
        QCOMPARE(history().undoText(), QStringLiteral("Assign A"));
    }

    void editWithoutADifferenceIsSavedAndNoStep()
    {
        replaceBy({});
        QCOMPARE(readFile(stateFilePath()), stateToJson({}));
        QCOMPARE(history().count(), 0);
    }

    void everyStepBringsItsStateBackExactly()
    {
        QRandomGenerator random(8010);
        QList<SavedState> states{SavedState{}};
        for (int step = 0; step < 150; ++step) {
            states += randomState(random);
            replaceBy(states.constLast());
        }
        for (qsizetype step = states.size() - 2; step >= 0; --step) {
            history().undo();
            QVERIFY2(isPresentAndSaved(states.at(step)), qPrintable(QString::number(step)));
        }
        QVERIFY(!history().canUndo());
        for (qsizetype step = 1; step < states.size(); ++step) {
            history().redo();
            QVERIFY2(isPresentAndSaved(states.at(step)), qPrintable(QString::number(step)));
        }
        QVERIFY(!history().canRedo());
    }

    void layersThatFollowAreToldOf_data()
    {
        using Parts = QList<StatePart>;
        QTest::addColumn<int>("base");
        QTest::addColumn<int>("fn");
        QTest::addColumn<Parts>("parts");
        const StatePart macros = StatePart::Macros;
        QTest::newRow("none") << 0 << 0 << Parts{macros};
        QTest::newRow("base") << 1 << 0 << Parts{macros, StatePart::BaseLayer};
        QTest::newRow("Fn") << 0 << 1 << Parts{macros, StatePart::FnLayer};
        QTest::newRow("both") << 1 << 1 << Parts{macros, StatePart::BaseLayer, StatePart::FnLayer};
    }
    void layersThatFollowAreToldOf()
    {
        QFETCH(int, base);
        QFETCH(int, fn);
        QFETCH(QList<StatePart>, parts);
        QList<StatePart> told;
        const auto connection =
            connect(&history(), &EditHistory::changed, this, [&](StatePart part) { told += part; });
        history().edit(StatePart::Macros, QStringLiteral("Move"), [&](SavedState& state) {
            state.macros.append({QStringLiteral("new"), {}});
            state.layerBase[3].p1 = static_cast<std::uint8_t>(base);
            state.layerFn[3].p1 = static_cast<std::uint8_t>(fn);
        });
        QCOMPARE(told, parts);
        history().undo();
        QCOMPARE(told, parts + parts);
        disconnect(connection);
    }

    void aThousandStepsAreKept()
    {
        for (int step = 1; step <= 1002; ++step)
            replaceBy(stateWith(step));
        QCOMPARE(history().count(), 1000);
        while (history().canUndo())
            history().undo();
        QVERIFY(isPresentAndSaved(stateWith(2)));
    }

    void editAfterAnUndoTakesItsPlace()
    {
        replaceBy(stateWith(1));
        history().undo();
        replaceBy(stateWith(2));
        QVERIFY(!history().canRedo());
        history().undo();
        QVERIFY(isPresentAndSaved({}));
    }

    void restoringTellsWhichPartAndWhatItLeft()
    {
        history().edit(StatePart::FnLayer, QStringLiteral("Edit"), [](SavedState& state) {
            state.layerFn[3] = {5, 0, 0, 0};
        });
        const SavedState edited = fields();
        QList<std::pair<StatePart, SavedState>> told;
        const auto connection = connect(&history(), &EditHistory::restored, this,
                                        [&](StatePart part, const SavedState& left) {
                                            told.append({part, left});
                                        });
        history().undo();
        history().redo();
        disconnect(connection);
        QCOMPARE(told.size(), 2);
        QVERIFY((told.at(0) == std::pair(StatePart::FnLayer, edited)));
        QVERIFY((told.at(1) == std::pair(StatePart::FnLayer, SavedState{})));
    }

    void takingOverKeepsWhatWasAndTellsIt()
    {
        fields() = stateWith(1);
        const SavedState left = fields();
        QList<std::pair<StatePart, SavedState>> told;
        const auto connection = connect(&history(), &EditHistory::restored, this,
                                        [&](StatePart part, const SavedState& before) {
                                            told.append({part, before});
                                        });
        history().takeOver(QStringLiteral("Import"), stateWith(2));
        disconnect(connection);
        QVERIFY(isPresentAndSaved(stateWith(2)));
        QCOMPARE(history().undoText(), QStringLiteral("Import"));
        QCOMPARE(told.size(), 1);
        QVERIFY((told.constFirst() == std::pair(StatePart::Everything, left)));
        QCOMPARE(earlierStates().size(), 1);
        QCOMPARE(readFile(earlierStates().constFirst().path), stateToJson(left));
        history().undo();
        QVERIFY(isPresentAndSaved(left));
    }

    void resettingKeepsWhatWas()
    {
        fields() = stateWith(1);
        AppState::instance().replace(QStringLiteral("Reset"), {});
        QVERIFY(isPresentAndSaved({}));
        QCOMPARE(earlierStates().size(), 1);
        QCOMPARE(readFile(earlierStates().constFirst().path), stateToJson(stateWith(1)));
    }

    void theSignalsOfTheStateAreLeftAlone()
    {
        const AppState& state = AppState::instance();
        const QSignalSpy layers(&state, &AppState::layersChanged);
        const QSignalSpy macros(&state, &AppState::macrosChanged);
        const QSignalSpy colors(&state, &AppState::rgbChanged);
        AppState::instance().replace(QStringLiteral("Reset"), stateWith(1));
        QCOMPARE(layers.count() + macros.count() + colors.count(), 3);
        QCOMPARE(history().undoText(), QStringLiteral("Reset"));
        history().undo();
        history().redo();
        replaceBy(stateWith(2));
        QCOMPARE(layers.count() + macros.count() + colors.count(), 3);
    }

    // A step shares its macros with the state; what is edited later must not show in it.
    void laterEditsLeaveTheStepsAlone()
    {
        SavedState first;
        first.macros = {{QStringLiteral("First"), {{10, 4, 0xB0}}}};
        replaceBy(first);
        history().edit(StatePart::Macros, QStringLiteral("Edit"), [](SavedState& state) {
            state.macros[0].actions[0].delay = 20;
            state.macros[0].name = QStringLiteral("Renamed");
        });
        history().undo();
        QVERIFY(isPresentAndSaved(first));
    }

private:
    static SavedState stateWith(int number)
    {
        SavedState state;
        state.customRgb[0] = static_cast<unsigned char>(number % 256);
        state.customRgb[1] = static_cast<unsigned char>(number / 256);
        return state;
    }

    static bool isPresentAndSaved(const SavedState& state)
    {
        return fields() == state && readFile(stateFilePath()) == stateToJson(state);
    }

    OwnConfiguration configuration;
};

QTEST_GUILESS_MAIN(EditHistoryTest)

#include "edit_history_test.moc"
