#pragma once

#include <QPixmap>
#include <QWidget>

namespace tavik {

// The dark ground below the title bar, on which sidebar and pages lie.
class SkinWorkspace : public QWidget
{
    Q_OBJECT

public:
    explicit SkinWorkspace(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap background;
};

} // namespace tavik
