// SPDX-License-Identifier: MIT
#include "tests/resources/skin_access.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>

namespace tavik::tests {

namespace {

double linear(int channel)
{
    const double value = channel / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color)
{
    return 0.2126 * linear(color.red()) + 0.7152 * linear(color.green()) +
           0.0722 * linear(color.blue());
}

QRect readRect(const QXmlStreamAttributes& attributes)
{
    return QRect(attributes.value("rect_left").toInt(), attributes.value("rect_top").toInt(),
                 attributes.value("rect_width").toInt(), attributes.value("rect_height").toInt());
}

LayoutKey readKey(const QXmlStreamAttributes& attributes)
{
    const auto text = [&attributes](const char* name) {
        return attributes.value(QLatin1String(name)).toString();
    };
    LayoutKey key;
    key.usage = text("code").toUInt(nullptr, 16);
    key.desc = text("desc");
    key.keyIndex = text("key_index").toInt();
    key.lightIndex = text("light_index").toInt();
    key.rowCol = text("row_col");
    key.rect = readRect(attributes);
    key.fnLayerDisable = text("fnlayer_disable");
    key.legend = text(attributes.hasAttribute("legend") ? "legend" : "desc");
    return key;
}

} // namespace

QString shareDirectory()
{
    return QDir(QCoreApplication::applicationDirPath() + "/../share/tavik-center").absolutePath();
}

QString skinDirectory()
{
    return shareDirectory() + "/official-skin";
}

QImage skinPicture(const QString& name)
{
    return QImage(skinDirectory() + '/' + name).convertToFormat(QImage::Format_ARGB32);
}

Layout readLayout(const QString& path)
{
    Layout layout;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        layout.error = file.errorString();
        return layout;
    }
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.name() == QLatin1String("key"))
            layout.keys.append(readKey(attributes));
        else if (xml.name() == QLatin1String("case"))
            layout.caseRect = readRect(attributes);
        else if (xml.name() == QLatin1String("screen"))
            layout.screenRect = readRect(attributes);
        else if (xml.name() == QLatin1String("Keyboard"))
            layout.area = QRect(attributes.value(QLatin1String("xpos")).toInt(),
                                attributes.value(QLatin1String("ypos")).toInt(),
                                attributes.value(QLatin1String("width")).toInt(),
                                attributes.value(QLatin1String("height")).toInt());
    }
    if (xml.hasError())
        layout.error = xml.errorString();
    return layout;
}

double contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor over(const QColor& color, const QColor& ground)
{
    const double share = color.alphaF();
    const auto mix = [share](int top, int bottom) {
        return static_cast<int>(std::lround(top * share + bottom * (1.0 - share)));
    };
    return QColor(mix(color.red(), ground.red()), mix(color.green(), ground.green()),
                  mix(color.blue(), ground.blue()));
}

} // namespace tavik::tests
