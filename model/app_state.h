// SPDX-License-Identifier: MIT
#pragma once

#include "model/color_bank.h"
#include "model/key_action.h"
#include "model/macro_record.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>

namespace tavik {

// Everything the user edits and that has to survive a restart. The keyboard cannot be asked for it
// (the colors excepted), so this copy is the only one.
struct SavedState
{
    KeyLayer layerBase{};
    KeyLayer layerFn{};
    QList<MacroRecord> macros;
    ColorBank customRgb{};

    friend bool operator==(const SavedState&, const SavedState&) = default;
};

// Moves the macro to another place of the list, and with it the keys that play it or one that makes
// room, on both layers. Both places exist. A key tells the first 256 macros apart; one beyond them
// cannot be followed there.
void moveMacro(SavedState& state, qsizetype from, qsizetype to);

// The state as the state file holds it: one JSON object, indented, its members sorted.
[[nodiscard]] QByteArray stateToJson(const SavedState& state);

// The state in the object of a state file. A member that is no array keeps its value in `present`.
// In the arrays, whatever is missing or of the wrong type is zero or empty, numbers are cut to the
// width of their field, and elements beyond a layer or the color bank are ignored.
[[nodiscard]] SavedState stateFromJson(const QJsonObject& object, const SavedState& present = {});

// Where the state is kept: "state.json" in the program's configuration directory. The names of the
// application and its organization have to be set before.
[[nodiscard]] QString stateFilePath();

// The one SavedState of the program and its file. Pages read the fields directly; what the user
// edits is changed and saved by way of the EditHistory. Used from the GUI thread only.
class AppState : public QObject, public SavedState
{
    Q_OBJECT

public:
    // The state of this process, loaded from its file on the first call.
    static AppState& instance();

    // Replaces the fields by what the state file holds. Without a file, or with one that cannot be
    // read or taken over, the fields keep their values. Meant for the start only: a file that
    // loads is copied to "state.json.bak" beside it, one that is read but cannot be taken over to
    // "state.json.damaged"; the earlier states then also hold what loads and the copy found beside
    // it. Emits nothing and reports nothing.
    void load();

    // Writes all fields to "state.json.bak", whole or not at all, and then to the state file, in
    // place: at every moment one of the two holds a whole state. What cannot be written is left as
    // it is. Both files are also left as they are where writing on could lose the last whole state,
    // or a copy found beside a damaged file that could not be kept, and where the state is too
    // large to be read again. A copy found that cannot be read is moved to a new name that begins
    // with "state.json.bak" and ends with "damaged". Emits nothing and reports nothing.
    void save() const;

    // Keeps the present state among the earlier ones, takes over another by an edit of this name
    // and emits layersChanged, macrosChanged and rgbChanged.
    void replace(const QString& name, const SavedState& state);

signals:
    // Emitted by replace() alone; single edits emit nothing.
    void macrosChanged();
    void layersChanged();
    void rgbChanged();

private:
    AppState();

    // False while the copy that an earlier run has left could be kept nowhere else.
    bool keepFoundCopy() const;

    mutable bool foundCopyIsKept = false;
    mutable bool foundFileIsKept = true; // read, or copied to "state.json.damaged"
};

} // namespace tavik
