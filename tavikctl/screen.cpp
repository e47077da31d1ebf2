#include "device/device.h"
#include "pages/screen/screen_transfer.h"
#include "tavikctl/commands.h"
#include "tavikctl/keyboard.h"
#include "tavikctl/pictures.h"

#include <QCoreApplication>
#include <QLibrary>
#include <QRegularExpression>

namespace tavik {

namespace {

constexpr int barWidth = 40;

ScreenStream streamOf(const QStringList& paths)
{
    QLibrary module(QCoreApplication::applicationDirPath() +
                    QStringLiteral("/../" TAVIK_MODULE_DIRECTORY "/tavikctl-pictures.so"));
    const auto read = reinterpret_cast<PictureReader>(module.resolve(pictureReaderName));
    if (read == nullptr)
        throw Failure{
            ExitCode::Failed,
            QStringLiteral(
                "Reading pictures takes what the package tavik-center brings; install it. "
                "(%1)")
                .arg(module.errorString())};
    ScreenStream stream;
    QString reason;
    read(paths, stream, reason);
    if (!reason.isEmpty())
        throw Failure{ExitCode::Failed, reason};
    return stream;
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
    const ScreenStream stream = streamOf(paths);
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
