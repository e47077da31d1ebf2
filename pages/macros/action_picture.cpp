// SPDX-License-Identifier: MIT
#include "pages/macros/action_picture.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>

namespace tavik {

namespace {

constexpr QColor wordsColor(0xf1, 0xf1, 0xf1);

// Written anew at every size and pixel ratio.
class WordsEngine : public QIconEngine
{
public:
    explicit WordsEngine(const QString& shownWords) : words(shownWords) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        painter->setPen(wordsColor);
        painter->drawText(rect, Qt::AlignVCenter | Qt::AlignLeft,
                          painter->fontMetrics().elidedText(words, Qt::ElideRight, rect.width()));
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine* clone() const override { return new WordsEngine(words); }

private:
    QString words;
};

} // namespace

QIcon actionPicture(const QString& words)
{
    return QIcon(new WordsEngine(words));
}

} // namespace tavik
