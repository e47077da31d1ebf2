// SPDX-License-Identifier: MIT
#include "pages/parts/keyboard_advice.h"

#include "doctor/examination.h"

#include <QCoreApplication>

namespace tavik {

QString keyboardAdvice()
{
    const doctor::Findings findings = doctor::examine();
    if (doctor::verdictOf(findings) == doctor::Verdict::Ready)
        return QCoreApplication::translate(
            "tavik::KeyboardAdvice", "The keyboard is there and may be used. Try again; if that "
                                     "does not help, unplug the keyboard, plug it in and start "
                                     "the program again.");
    return QString::fromStdString(doctor::explain(findings));
}

} // namespace tavik
