#include "device/device.h"
#include "pages/screen/screen_transfer.h"
#include "tavikctl/commands.h"
#include "tavikctl/keyboard.h"

#include <QRegularExpression>

namespace tavik {

namespace {

constexpr int barWidth = 40;

QList<ScreenFrame> framesOf(const QStringList& paths)
{
    QList<ScreenFrame> frames;
    for (const QString& path : paths) {
        const QList<ScreenFrame> more = importImages({path});
        if (more.isEmpty())
            throw Failure{ExitCode::Failed,
                          QStringLiteral("\"%1\" is no picture that can be read.").arg(path)};
        frames += more;
        if (frames.size() > screenFrameLimit)
            throw Failure{ExitCode::Failed,
                          QStringLiteral("These are more than %1 pictures, which is all that a "
                                         "slot holds. Leave some out.")
                              .arg(screenFrameLimit)};
    }
    return frames;
}

// "Sending chunk 5/9…" as a bar, over the one before.
void drawBar(const Output& output, const QString& text)
{
    static const QRegularExpression numbers(QStringLiteral("(\\d+)/(\\d+)"));
    const QRegularExpressionMatch match = numbers.match(text);
    if (!output.isTerminal || !match.hasMatch())
        return;
    const int sent = match.captured(1).toInt();
    const int count = match.captured(2).toInt();
    const QString bar(barWidth * sent / count, u'#');
    output.err << QStringLiteral("\r[%1] %2/%3")
                      .arg(bar.leftJustified(barWidth, u'.'))
                      .arg(sent)
                      .arg(count)
                      .toStdString();
    if (sent == count)
        output.err << '\n';
    output.err.flush();
}

} // namespace

void sendPictures(const Output& output, const QStringList& paths, int slot)
{
    const ScreenStream stream = buildScreenStream(framesOf(paths));
    connectKeyboard();
    const ScreenTransferResult result =
        sendToScreen(stream, slot, [&output](const QString& text) { drawBar(output, text); });
    if (result.ok)
        return;
    if (Device::isInterrupted() || result.error == Device::instance().lastError)
        throw keyboardFailure();
    throw Failure{ExitCode::Failed,
                  result.error +
                      QStringLiteral(". Unplug the keyboard, plug it in, and try again.")};
}

} // namespace tavik
