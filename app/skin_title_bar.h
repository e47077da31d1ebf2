#pragma once

#include <QPoint>
#include <QWidget>

class QLabel;

namespace tavik {

// The window's own title bar: logo, page title, and the two window buttons; dragging it with the
// left button moves the window.
class SkinTitleBar : public QWidget
{
    Q_OBJECT

public:
    explicit SkinTitleBar(QWidget* parent = nullptr);

    void setTitle(const QString& title);

signals:
    void minimizeRequested();
    void closeRequested();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    QLabel* title;
    QPoint dragOffset; // from the window's frame origin to the pointer
};

} // namespace tavik
