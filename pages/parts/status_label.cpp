#include "pages/parts/status_label.h"

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

void showStatus(QLabel* label, StatusLook look, const QString& text)
{
    label->setStyleSheet(styleSheetFor(look));
    label->setText(text);
}

void showError(QLabel* label, const QString& text)
{
    showStatus(label, StatusLook::Error, QStringLiteral("Error: %1").arg(text));
}

} // namespace tavik
