#include "pages/parts/status_label.h"

#include "device/device.h"

#include <QLabel>

namespace tavik {

namespace {

QString styleSheetFor(StatusLook look)
{
    switch (look) {
    case StatusLook::Plain:
        return {};
    case StatusLook::Success:
        return QStringLiteral("color:#7ec97e;");
    case StatusLook::Warning:
        return QStringLiteral("color:#e0a050;");
    case StatusLook::Error:
        return QStringLiteral("color:#e07070;");
    }
    return {};
}

} // namespace

QLabel* createStatusLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

void showStatus(QLabel* label, StatusLook look, const QString& text)
{
    label->setStyleSheet(styleSheetFor(look));
    label->setText(text);
}

void showOutcome(QLabel* label, bool succeeded, const QString& successText)
{
    if (succeeded)
        showStatus(label, StatusLook::Success, successText);
    else
        showStatus(label, StatusLook::Error,
                   QStringLiteral("Error: %1").arg(Device::instance().lastError));
}

} // namespace tavik
