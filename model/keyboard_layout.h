#pragma once

#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>

class QIODevice;

namespace tavik {

// One key of the board, as the layout file describes it; nothing in it has been validated.
struct KeyRecord
{
    unsigned long code = 0; // HID keyboard usage printed on the cap
    QString desc;           // display name
    int keyIndex = 0;
    int lightIndex = 0; // index into the layers and the color bank; 0 to 143 in a sound file
    int row = 0;
    int col = 0;
    QRect rect; // in layout units
    bool fnLayerDisable = false;
};

// The physical board: where each key is drawn and which table entry it occupies.
class KeyboardLayout
{
public:
    int xpos = 0;
    int ypos = 0;
    int width = 0; // design size of the picture area, in layout units
    int height = 0;
    QList<KeyRecord> keys; // in document order

    // Returns the one layout of the process, searching the disk on the first call only. It stays
    // empty when no usable file is found. GUI thread only.
    static const KeyboardLayout& instance();

    // Takes the first usable layout file of the directories, in their order. A file that was
    // rejected may leave the area and the keys it named before its error.
    void search(const QStringList& directories);

    // Replaces the keys by those of one XML document. False when the document breaks off with an
    // error or names no key.
    [[nodiscard]] bool read(QIODevice& document);

    // The directories that may hold a layout file, first choice first.
    static QStringList searchDirectories();
};

} // namespace tavik
