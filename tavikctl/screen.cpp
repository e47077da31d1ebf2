// SPDX-License-Identifier: MIT
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

ScreenStream streamOf(const Output& output, const QStringList& paths)
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
    QStringList notes;
    read(paths, stream, reason, notes);
    if (!reason.isEmpty())
        throw Failure{ExitCode::Failed, reason};
    for (const QString& note : notes)
        output.note(note);
    return stream;
}

// "Sending chunk 5/9…" as a bar, each over the one before, on a line that ends with it.
class ProgressBar
{
public:
    explicit ProgressBar(const Output& where) : output(where) {}
    ~ProgressBar()
    {
        if (isDrawn)
            output.err << '\n';
    }
    Q_DISABLE_COPY_MOVE(ProgressBar)

    void show(const QString& text)
    {
        static const QRegularExpression numbers(QStringLiteral("(\\d+)/(\\d+)"));
        const QRegularExpressionMatch match = numbers.match(text);
        if (!output.isTerminal || output.dryRun || !match.hasMatch())
            return;
        isDrawn = true;
        const int sent = match.captured(1).toInt();
        const int count = match.captured(2).toInt();
        const QString bar(barWidth * sent / count, u'#');
        output.err << QStringLiteral("\r[%1] %2/%3")
                          .arg(bar.leftJustified(barWidth, u'.'))
                          .arg(sent)
                          .arg(count)
                          .toStdString();
        output.err.flush();
    }

private:
    const Output& output;
    bool isDrawn = false;
};

} // namespace

void sendPictures(const Output& output, const QStringList& paths, int slot)
{
    const ScreenStream stream = streamOf(output, paths);
    connectKeyboard();
    ProgressBar bar(output);
    const ScreenTransferResult result =
        sendToScreen(stream, slot, [&bar](const QString& text) { bar.show(text); });
    if (result.ok)
        return;
    if (Device::isInterrupted() || result.error == Device::instance().lastError)
        throw keyboardFailure();
    throw Failure{ExitCode::Failed,
                  result.error +
                      QStringLiteral(". Unplug the keyboard, plug it in, and try again.")};
}

} // namespace tavik
