// SPDX-License-Identifier: MIT
#include "pages/macros/macro_upload.h"
#include "tavikctl/commands.h"
#include "tavikctl/key_words.h"
#include "tavikctl/keyboard.h"
#include "tavikctl/macro_words.h"
#include "tavikctl/user_state.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tavik {

namespace {

// Names may hold anything; in a list each takes one line.
QString inOneLine(const QString& name)
{
    return name.simplified();
}

// Keys that play it do again what they come with; returns their names.
QStringList forgetMacro(KeyLayer& layer, qsizetype index)
{
    QStringList names;
    for (std::size_t key = 0; key < layer.size(); ++key) {
        if (layer.at(key).page != static_cast<std::uint8_t>(KeyActionPage::Macro) ||
            layer.at(key).p1 != index)
            continue;
        layer.at(key) = {};
        names += nameOfKeyAt(key);
    }
    return names;
}

} // namespace

void listMacros(const Output& output)
{
    QJsonArray array;
    for (const MacroRecord& macro : presentState().macros) {
        array.append(QJsonObject{{"name", macro.name}, {"steps", wordsOfMacro(macro.actions)}});
        if (!output.json)
            output.line(inOneLine(macro.name));
    }
    if (output.json)
        output.value(QJsonDocument(array));
}

void showMacro(const Output& output, const QString& name)
{
    const QList<MacroRecord> macros = presentState().macros;
    const MacroRecord& macro = macros.at(macroIndexOf(name, macros));
    const QString steps = wordsOfMacro(macro.actions);
    if (output.json)
        output.value(QJsonDocument(QJsonObject{{"name", macro.name}, {"steps", steps}}));
    else
        output.line(steps);
}

void setMacro(const Output& output, const QString& name, const QString& steps)
{
    const QList<MacroAction> actions = macroFromWords(steps);
    editState(output, [&](SavedState& state) {
        auto found = std::ranges::find(state.macros, name, &MacroRecord::name);
        if (found == state.macros.end())
            found = std::ranges::find_if(state.macros, [&](const MacroRecord& macro) {
                return macro.name.compare(name, Qt::CaseInsensitive) == 0;
            });
        if (found == state.macros.end())
            state.macros.append({name, actions});
        else
            found->actions = actions;
    });
}

void removeMacro(const Output& output, const QString& name)
{
    QStringList base;
    QStringList fn;
    editState(output, [&](SavedState& state) {
        const qsizetype index = macroIndexOf(name, state.macros);
        base = forgetMacro(state.layerBase, index);
        fn = forgetMacro(state.layerFn, index);
        // The keys of the later ones go with them.
        moveMacro(state, index, state.macros.size() - 1);
        state.macros.removeLast();
    });
    if (output.json)
        output.value(QJsonDocument(QJsonObject{{"base", QJsonArray::fromStringList(base)},
                                               {"fn", QJsonArray::fromStringList(fn)}}));
    for (const auto& [layer, keys] : {std::pair("base", base), std::pair("fn", fn)}) {
        for (const QString& key : keys)
            output.note(QStringLiteral("%1 played it on the %2 layer and is as it comes again.")
                            .arg(key, QLatin1String(layer)));
    }
}

void writeMacros(const Output& output)
{
    const QList<MacroRecord> macros = presentState().macros;
    if (macros.size() > macroLimit)
        output.note(QStringLiteral("The keyboard takes the first %1 macros of %2.")
                        .arg(macroLimit)
                        .arg(macros.size()));
    const std::optional<QByteArray> image = encodeMacroSpace(macros);
    if (!image)
        throw Failure{ExitCode::Failed,
                      macroSpaceExceededText.toString() +
                          QStringLiteral(" Remove some steps or macros, then write again.")};
    requireSent(writeMacroSpace(*image));
}

} // namespace tavik
