// SPDX-License-Identifier: MIT
#include "tests/support/screen_reader.h"

#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

#include <private/qguiapplication_p.h>

namespace tavik::tests {

// Only the platform can say that one is running.
void hearAsAScreenReader(QAccessible::UpdateHandler hear)
{
    QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
    QAccessible::installUpdateHandler(hear);
}

} // namespace tavik::tests
