// SPDX-License-Identifier: MIT
#include "tavikctl/pictures.h"

#include "pages/screen/screen_stream.h"

using namespace tavik;

extern "C" Q_DECL_EXPORT void tavikReadPictures(const QStringList& paths, ScreenStream& stream,
                                                QString& reason, QStringList& notes)
{
    QList<ScreenFrame> frames;
    for (const QString& path : paths) {
        QStringList outcomes;
        const QList<ScreenFrame> more = importImages({path}, &outcomes);
        frames += more;
        notes += outcomes.filter(QStringLiteral(" of "));
        if (more.isEmpty())
            reason = QStringLiteral("\"%1\" is no picture that can be read.").arg(path);
        else if (frames.size() > screenFrameLimit)
            reason = QStringLiteral("These are more than %1 pictures, which is all that a slot "
                                    "holds. Leave some out.")
                         .arg(screenFrameLimit);
        if (!reason.isEmpty())
            return;
    }
    stream = buildScreenStream(frames);
}
