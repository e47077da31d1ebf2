// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QDrag>
#include <QImage>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

namespace {

// Another program that a file is dragged from: a window in the color of the picture in the file.
class DragSource : public QWidget
{
public:
    explicit DragSource(const QString& path) : url(QUrl::fromLocalFile(path))
    {
        QImage picture(128, 128, QImage::Format_RGB32);
        picture.fill(Qt::cyan);
        if (!picture.save(path))
            qFatal("no picture");
        setWindowFlag(Qt::FramelessWindowHint);
        setStyleSheet(QStringLiteral("background: cyan"));
        setFixedSize(60, 60);
    }

protected:
    void mousePressEvent(QMouseEvent*) override
    {
        auto* drag = new QDrag(this); // Qt deletes it
        drag->setMimeData(new QMimeData);
        drag->mimeData()->setUrls({url});
        if (drag->exec(Qt::CopyAction) == Qt::CopyAction)
            close();
    }

private:
    QUrl url;
};

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false); // the file is asked for after the drop
    DragSource source(application.arguments().at(1));
    source.show();
    return QApplication::exec();
}
