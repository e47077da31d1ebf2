// SPDX-License-Identifier: MIT
#pragma once

#include "app/skin/skin_picture.h"

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
    SkinPicture background;
    std::shared_ptr<const QPixmap> ground; // background at the present size
};

} // namespace tavik
