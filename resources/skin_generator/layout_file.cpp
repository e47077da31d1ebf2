#include "resources/skin_generator/layout_file.h"

#include <QFile>
#include <QXmlStreamReader>

namespace tavik {

namespace {

DrawnKey readKey(const QXmlStreamAttributes& attributes)
{
    const auto number = [&attributes](const char* name) {
        return attributes.value(QLatin1String(name)).toInt();
    };
    DrawnKey key;
    key.usage = attributes.value(QLatin1String("code")).toUInt(nullptr, 0);
    key.rect =
        QRect(number("rect_left"), number("rect_top"), number("rect_width"), number("rect_height"));
    return key;
}

} // namespace

LayoutFile readLayoutFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot open the layout file %s", qPrintable(path));

    LayoutFile layout;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        if (xml.name() == QLatin1String("Keyboard"))
            layout.size = QSize(attributes.value(QLatin1String("width")).toInt(),
                                attributes.value(QLatin1String("height")).toInt());
        else if (xml.name() == QLatin1String("key"))
            layout.keys.append(readKey(attributes));
    }
    if (xml.hasError() || layout.size.isEmpty() || layout.keys.isEmpty())
        qFatal("The layout file %s is broken: %s", qPrintable(path), qPrintable(xml.errorString()));
    return layout;
}

} // namespace tavik
