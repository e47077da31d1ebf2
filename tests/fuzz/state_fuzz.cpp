// SPDX-License-Identifier: MIT
#include "model/state_copies.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/model/sample_state.h"
#include "tests/support/files.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tavik::tests {

QByteArrayList seeds()
{
    QRandomGenerator random(1);
    return {
        stateToJson({}), stateToJson(randomState(random)),
        R"({"macros":[{"name":"\ud83d\ude00 \"\\\/\b\f\n\r\t","actions":[{"delay":65535},{"delay":70000,)"
        R"("key":1.5,"flags":-1},7]}],"layerBase":[{"page":"2"}],"layerFn":null})",
        R"({"customRgb":[255,256,-1,true,1e10]})"};
}

void check(const QByteArray& input)
{
    static const QTemporaryDir directory;
    static const QString path = directory.filePath("state.json");
    writeFile(path, input);
    SavedState present;
    present.layerFn.front() = {1, 2, 3, 4};
    present.macros = {{"present", {{5, 6, 7}}}};
    present.customRgb.back() = 8;

    QString reason;
    const std::optional<SavedState> state = readStateFile(path, &reason, present);
    TAVIK_HOLDS(state.has_value() == reason.isEmpty());
    if (!state)
        return;
    const QJsonObject object = QJsonDocument::fromJson(input).object();
    const auto has = [&](const char* member) {
        return object.value(QLatin1String(member)).isArray();
    };
    TAVIK_HOLDS(has("layerBase") || state->layerBase == present.layerBase);
    TAVIK_HOLDS(has("layerFn") || state->layerFn == present.layerFn);
    TAVIK_HOLDS(has("macros") ? state->macros.size() == object.value("macros").toArray().size()
                              : state->macros == present.macros);
    TAVIK_HOLDS(has("customRgb") || state->customRgb == present.customRgb);

    // What is saved is what Qt would have written, and loads as the same state.
    const QByteArray saved = stateToJson(*state);
    const QJsonDocument document = QJsonDocument::fromJson(saved);
    TAVIK_HOLDS(document.isObject() && document.toJson() == saved);
    TAVIK_HOLDS(stateFromJson(document.object()) == *state);
}

} // namespace tavik::tests
