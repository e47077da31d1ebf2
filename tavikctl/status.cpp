// SPDX-License-Identifier: MIT
#include "doctor/examination.h"
#include "tavikctl/commands.h"
#include "tavikctl/keyboard.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tavik {

namespace {

QString textOf(const std::string& text)
{
    return QString::fromStdString(text);
}

QString idOf(const doctor::DeviceId& id)
{
    return QStringLiteral("%1:%2")
        .arg(id.vendor, 4, 16, QLatin1Char('0'))
        .arg(id.product, 4, 16, QLatin1Char('0'));
}

QString holderText(const doctor::Holder& holder)
{
    return QStringLiteral("%1 (process %2)").arg(textOf(holder.name)).arg(holder.processId);
}

QJsonValue jsonOf(const std::optional<doctor::Node>& node)
{
    if (!node)
        return {};
    QJsonArray holders;
    for (const doctor::Holder& holder : node->holders)
        holders.append(QJsonObject{{"name", textOf(holder.name)}, {"process", holder.processId}});
    return QJsonObject{{"path", textOf(node->path)}, {"heldBy", holders}};
}

void writeLine(const Output& output, const char* name, const std::optional<doctor::Node>& node)
{
    if (!node)
        return;
    QStringList holders;
    for (const doctor::Holder& holder : node->holders)
        holders += holderText(holder);
    QString line = QLatin1String(name) + textOf(node->path);
    if (!holders.isEmpty())
        line += QStringLiteral(", held by ") + holders.join(QStringLiteral(", "));
    output.line(line);
}

} // namespace

void showStatus(const Output& output)
{
    const doctor::Findings findings = doctor::examine();
    const ExitCode code = exitCodeOf(findings);
    const QString words = textOf(doctor::explain(findings));
    if (output.json) {
        QJsonObject status{{"status", words},
                           {"code", static_cast<int>(code)},
                           {"commands", jsonOf(findings.configuration)},
                           {"screen", jsonOf(findings.screen)}};
        status["product"] = findings.keyboard ? QJsonValue(idOf(*findings.keyboard)) : QJsonValue();
        output.value(QJsonDocument(status));
    } else {
        output.line(words);
        if (findings.keyboard)
            output.line(QStringLiteral("product:  ") + idOf(*findings.keyboard));
        writeLine(output, "commands: ", findings.configuration);
        writeLine(output, "screen:   ", findings.screen);
    }
    if (code != ExitCode::Done)
        throw Failure{code, {}}; // the words are out
}

} // namespace tavik
