// SPDX-License-Identifier: MIT
#include "model/keyboard_layout.h"

#include "files/regular_file.h"
#include "files/shared_place.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QXmlStreamReader>

#include <algorithm>
#include <cstdlib>

namespace tavik {

namespace {

constexpr qint64 sizeLimit = 4 * 1024 * 1024; // a keyboard's layout takes some kilobytes
constexpr qint64 longestElement = 64 * 1024;  // a key takes 300 bytes
constexpr qint64 portion = 1024;
constexpr int longestEntity = 256; // characters
constexpr qint64 workOfToken = 40; // in comparisons of attributes
constexpr qint64 mostWork = 20'000'000;

// Every attribute of an element is compared with all others before anybody sees them, so the
// document ends for its reader where a single element, or a remark, is longer than any of a layout.
class ElementSource final : public QIODevice
{
public:
    explicit ElementSource(QIODevice& whole) : document(whole)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    void startElement() { length = 0; }

    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 largestSize) override
    {
        if (length > longestElement)
            return 0;
        const qint64 size = document.read(data, std::min(largestSize, portion));
        length += std::count_if(data, data + std::max<qint64>(size, 0),
                                [](char byte) { return static_cast<unsigned char>(byte) > ' '; });
        return size;
    }

    qint64 writeData(const char*, qint64) override { return -1; } // GCOVR_EXCL_LINE

private:
    QIODevice& document;
    qint64 length = 0; // bytes of the present one, without blanks
};

// Sums of hostile numbers wrap instead of overflowing.
int wrappedSum(int first, int second)
{
    return static_cast<int>(static_cast<unsigned>(first) + static_cast<unsigned>(second));
}

QRect rectFromAttributes(const QXmlStreamAttributes& attributes)
{
    const int left = attributes.value("rect_left").toInt();
    const int top = attributes.value("rect_top").toInt();
    const int width = attributes.value("rect_width").toInt();
    const int height = attributes.value("rect_height").toInt();
    QRect rect;
    rect.setCoords(left, top, wrappedSum(wrappedSum(left, width), -1),
                   wrappedSum(wrappedSum(top, height), -1));
    return rect;
}

KeyRecord keyFromAttributes(const QXmlStreamAttributes& attributes)
{
    KeyRecord key;
    key.code = std::strtoul(attributes.value("code").toLatin1().constData(), nullptr, 0);
    key.desc = attributes.value("desc").toString();
    key.keyIndex = attributes.value("key_index").toInt();
    key.lightIndex = attributes.value("light_index").toInt();
    const QList<QStringView> rowAndColumn = attributes.value("row_col").split(u'#');
    if (rowAndColumn.size() > 1) {
        key.row = rowAndColumn.at(0).toInt();
        key.col = rowAndColumn.at(1).toInt();
    }
    key.rect = rectFromAttributes(attributes);
    key.fnLayerDisable = attributes.value("fnlayer_disable") == QLatin1String("1");
    key.legend =
        attributes.hasAttribute("legend") ? attributes.value("legend").toString() : key.desc;
    key.shifted = attributes.value("shifted").toString();
    return key;
}

} // namespace

const KeyboardLayout& KeyboardLayout::instance()
{
    static KeyboardLayout layout;
    static bool loaded = false;
    if (!loaded) {
        loaded = true;
        layout.search(searchDirectories());
    }
    return layout;
}

QStringList KeyboardLayout::searchDirectories()
{
    const QString applicationDirectory = QCoreApplication::applicationDirPath();
    return {
        sharedPlace,
        QStringLiteral("/usr/share/tavik-center"),
        QStringLiteral("/usr/local/share/tavik-center"),
        applicationDirectory + QStringLiteral("/../share/tavik-center"),
        applicationDirectory,
        QStringLiteral("."),
    };
}

void KeyboardLayout::search(const QStringList& directories)
{
    for (const QString& directory : directories) {
        for (const char* name : {"keyboard-layout.xml", "rgb-keyboard.xml"}) {
            const QString path = QDir(directory).filePath(QLatin1String(name));
            if (!isTrustedPath(path))
                continue;
            std::optional<QByteArray> content = readRegularFile(path, sizeLimit);
            if (!content)
                continue;
            QBuffer document(&*content);
            if (document.open(QIODevice::ReadOnly) && read(document))
                return;
        }
    }
}

bool KeyboardLayout::read(QIODevice& document, QString* reason)
{
    keys.clear();
    caseRect = screenRect = QRect();
    ElementSource source(document);
    QXmlStreamReader reader(&source);
    reader.setEntityExpansionLimit(longestEntity);
    qint64 work = 0;
    while (!reader.atEnd()) {
        source.startElement();
        const auto token = reader.readNext();
        const QXmlStreamAttributes attributes = reader.attributes();
        // Declarations and entities make much of a few bytes.
        work += workOfToken + attributes.size() * attributes.size();
        if (work > mostWork)
            reader.raiseError(QStringLiteral("This is more than any keyboard has."));
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("Keyboard") ||
            reader.name() == QLatin1String("Layout109K")) {
            xpos = attributes.value("xpos").toInt();
            ypos = attributes.value("ypos").toInt();
            width = attributes.value("width").toInt();
            height = attributes.value("height").toInt();
        } else if (reader.name() == QLatin1String("key")) {
            keys.append(keyFromAttributes(attributes));
        } else if (reader.name() == QLatin1String("case")) {
            caseRect = rectFromAttributes(attributes);
        } else if (reader.name() == QLatin1String("screen")) {
            screenRect = rectFromAttributes(attributes);
        }
    }
    if (reason != nullptr)
        *reason =
            reader.hasError()
                ? QStringLiteral("line %1: %2").arg(reader.lineNumber()).arg(reader.errorString())
                : QStringLiteral("it has no key");
    return !reader.hasError() && !keys.isEmpty();
}

} // namespace tavik
