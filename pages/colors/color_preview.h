// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QWidget>

namespace tavik {

// A small field that shows one color.
class ColorPreview : public QWidget
{
    Q_OBJECT

public:
    // Shows this color, which must outlive the preview; whoever changes it calls update().
    explicit ColorPreview(const QColor& shownColor, QWidget* parent = nullptr);
    ColorPreview(const QColor&&, QWidget* = nullptr) = delete;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QColor& color;
};

} // namespace tavik
