// SPDX-License-Identifier: MIT
#pragma once

#include "model/edit_history.h"

#include <QLabel>

#include <optional>

namespace tavik {

// The looks of an outcome, the same on every page.
enum class StatusLook { Plain, Success, Warning, Error };

// The label of what was last done on a page. Its texts are shown as they stand, whatever is in
// them, and vanish with their look as soon as an edit, an undo or a redo changes what they speak
// of. Under a red text the tool tip says what to do; where the keyboard is to blame, that is found
// out when the tool tip is asked for.
class StatusLabel : public QLabel
{
    Q_OBJECT

public:
    explicit StatusLabel(QWidget* parent);

    // Shows the text in the look; an edit of the subject clears it. Plain takes back whatever look
    // was there before.
    void showStatus(StatusLook look, const QString& text, std::optional<StatePart> subject = {});

    // Shows what came of an operation on the keyboard: the text when it succeeded, else "Error: %1"
    // with the device's last error.
    void showOutcome(bool succeeded, const QString& successText,
                     std::optional<StatePart> subject = {});

    // Shows the text in red, and what to do about it as its tool tip.
    void showRefusal(const QString& text, const QString& whatToDo,
                     std::optional<StatePart> subject = {});

    // The shown text is cleared when the sender emits the signal, unless another one came before.
    template <typename Sender, typename Signal>
    void clearOn(const Sender* sender, Signal signal)
    {
        clearing = connect(sender, signal, this, [this] { showStatus(StatusLook::Plain, {}); });
    }

    // What the tool tip tells from now on, or how it begins where a keyboard has failed: behind it
    // stands what to do about that.
    void setAdvice(const QString& text, bool keyboardFailed = false);

    // A line, also without a text: the page does not jump when one comes or goes.
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;

private:
    [[nodiscard]] QString adviceNow() const;
    void clearAfterEdit(StatePart part);

    std::optional<StatePart> shownSubject;
    QMetaObject::Connection clearing;
    bool hasKeyboardFailed = false;
    QString advice;
};

} // namespace tavik
