// SPDX-License-Identifier: MIT
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
    QString legend;  // printed on the cap of the drawn picture; the name where the file has none
    QString shifted; // printed beside it: the character with Shift
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
    QRect caseRect;        // where the picture shows the case; null for none
    QRect screenRect;      // likewise the screen

    // Returns the one layout of the process, searching the disk on the first call only. It stays
    // empty when no usable file is found. GUI thread only.
    static const KeyboardLayout& instance();

    // Takes the first usable layout file of the directories, in their order. A file that was
    // rejected may leave the area and the keys it named before its error.
    void search(const QStringList& directories);

    // Replaces the keys by those of one XML document. False when the document breaks off with an
    // error or names no key; `reason` then says so in words for a person who edits the file.
    [[nodiscard]] bool read(QIODevice& document, QString* reason = nullptr);

    // The directories that may hold a layout file, first choice first.
    static QStringList searchDirectories();
};

} // namespace tavik
