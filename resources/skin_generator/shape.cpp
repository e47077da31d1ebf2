// SPDX-License-Identifier: MIT
#include "resources/skin_generator/shape.h"

#include <QDir>
#include <QPainter>
#include <QSvgRenderer>

namespace tavik {

namespace {

QString& shapeDirectory()
{
    static QString directory;
    return directory;
}

} // namespace

void setShapeDirectory(const QString& directory)
{
    shapeDirectory() = directory;
}

QImage emptyPicture(QSize size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    return picture;
}

void drawShape(QPainter& painter, const QString& name, const QRectF& target)
{
    const QString path = QDir(shapeDirectory()).filePath(name + QStringLiteral(".svg"));
    QSvgRenderer renderer(path);
    if (!renderer.isValid())
        qFatal("Cannot read the shape %s", qPrintable(path));
    renderer.render(&painter, target);
}

QImage tintedShape(const QString& name, QSize size, const QRectF& target, const QColor& color,
                   int degrees)
{
    QImage picture = emptyPicture(size);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.save();
    painter.translate(target.center());
    painter.rotate(degrees);
    painter.translate(-target.center());
    drawShape(painter, name, target);
    painter.restore();

    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), color);
    return picture;
}

} // namespace tavik
