// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace tavik {

class KeyboardLayout;
class KeyboardView;

inline constexpr int previewMinimumHeight = 380;

// The size of a keyboard view inside a preview of this size: the largest of the shape 800 x 300
// that fits beside the margins, at most 800 x 300 and at least 1 x 1.
[[nodiscard]] QSize previewViewSize(QSize previewSize);

// A clear area that shows the keyboard at its bottom center, scaled down but never up.
class PreviewArea : public QWidget
{
    Q_OBJECT

public:
    // The layout must outlive the area.
    explicit PreviewArea(const KeyboardLayout& layout, QWidget* parent = nullptr);

    // No width at all: the keyboard is scaled to what there is.
    QSize minimumSizeHint() const override { return {0, 0}; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    KeyboardView* view;
};

} // namespace tavik
