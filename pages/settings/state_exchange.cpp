// SPDX-License-Identifier: MIT
#include "pages/settings/state_exchange.h"

#include "files/whole_file.h"
#include "model/edit_history.h"
#include "model/state_copies.h"
#include "pages/parts/file_dialog.h"
#include "pages/parts/page_parts.h"
#include "pages/parts/shown_text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QTimer>

#include <algorithm>

namespace tavik {

namespace {

constexpr qsizetype shownFileNameLimit = 60; // characters

QString tr(const char* text)
{
    return QCoreApplication::translate("tavik::StateExchange", text);
}

QString counted(qsizetype count, const char* one, const char* several)
{
    return tr(count == 1 ? one : several).arg(count);
}

QString settingsFilter()
{
    return tr("Settings (*.json)");
}

QString shownName(const QString& path)
{
    return beginningOf(QFileInfo(path).fileName(), shownFileNameLimit);
}

// In plain text: a file may be called like a tag.
QMessageBox::StandardButton showBox(QWidget* parent, const QString& title, const QString& text,
                                    QMessageBox::Icon icon, QMessageBox::StandardButtons buttons)
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    if (buttons.testFlag(QMessageBox::No))
        box.setDefaultButton(QMessageBox::No);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

// Takes over the file's state under this name once the user has agreed to the question. What the
// file lacks is as in the given state.
void takeOver(const QString& path, const SavedState& otherwise, const QString& name,
              const QString& question, QWidget* parent)
{
    QString reason;
    const std::optional<SavedState> state = readStateFile(path, &reason, otherwise);
    if (!state) {
        showBox(parent, name, tr("\"%1\" cannot be used. %2").arg(shownName(path), reason),
                QMessageBox::Information, QMessageBox::Ok);
        return;
    }
    const QString text = question + QLatin1String("\n\n") +
                         tr("Then you have %1. Undo takes this back.").arg(contentsText(*state));
    const auto answer =
        showBox(parent, name, text, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No);
    if (answer == QMessageBox::Yes)
        EditHistory::instance().takeOver(name, *state);
}

// A large state takes its time to be counted, so this is done while the menu is open, an entry at a
// time.
void countContents(QMenu* menu)
{
    auto* timer = new QTimer(menu);
    QObject::connect(timer, &QTimer::timeout, menu, [timer, menu, next = 0]() mutable {
        if (next == menu->actions().size()) {
            timer->stop();
            return;
        }
        QAction* entry = menu->actions().at(next++);
        QString reason;
        const std::optional<SavedState> state = readStateFile(entry->data().toString(), &reason);
        entry->setText(entry->text() + u'\t' +
                       (state ? contentsText(*state) : tr("cannot be read")));
        entry->setEnabled(state.has_value());
    });
    timer->start();
}

void addEarlierStates(QMenu* menu, QWidget* parent)
{
    const QList<EarlierState> states = earlierStates();
    if (states.isEmpty()) {
        menu->addAction(tr("None kept yet"))->setEnabled(false);
        return;
    }
    for (const EarlierState& state : states) {
        const QString time = QLocale().toString(state.keptAt.toLocalTime(), QLocale::ShortFormat);
        const auto goBack = [path = state.path, time, parent] {
            takeOver(path, {}, tr("Earlier state"), tr("Go back to the state of %1?").arg(time),
                     parent);
        };
        menu->addAction(menuText(time), parent, goBack, Qt::QueuedConnection)->setData(state.path);
    }
    countContents(menu);
}

} // namespace

QString contentsText(const SavedState& state)
{
    const auto isAssigned = [](const KeyAction& action) { return action != KeyAction{}; };
    auto keys = std::ranges::count_if(state.layerBase, isAssigned);
    keys += std::ranges::count_if(state.layerFn, isAssigned);
    qsizetype colors = 0;
    for (std::size_t lightIndex = 0; lightIndex < layerSize; ++lightIndex)
        colors += colorOf(state.customRgb, lightIndex) == KeyColor{} ? 0 : 1;
    return QStringList{counted(keys, "%1 key", "%1 keys"),
                       counted(state.macros.size(), "%1 macro", "%1 macros"),
                       counted(colors, "%1 color", "%1 colors")}
        .join(QLatin1String(", "));
}

void exportSettings(QWidget* parent)
{
    QFileDialog dialog(parent, tr("Export settings"), QDir::homePath(), settingsFilter());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("json"));
    dialog.selectFile(QStringLiteral("tavik-settings.json"));
    for (const QString& path : chosenFiles(dialog)) {
        if (!writeWholeFile(path, stateToJson(AppState::instance())))
            showBox(parent, dialog.windowTitle(),
                    tr("\"%1\" could not be written.").arg(shownName(path)),
                    QMessageBox::Information, QMessageBox::Ok);
    }
}

void importSettings(QWidget* parent)
{
    QFileDialog dialog(parent, tr("Import settings"), QDir::homePath(), settingsFilter());
    dialog.setFileMode(QFileDialog::ExistingFile);
    for (const QString& path : chosenFiles(dialog)) // one at most
        importSettingsFrom(path, parent);
}

void importSettingsFrom(const QString& path, QWidget* parent)
{
    takeOver(path, AppState::instance(), tr("Import settings"),
             tr("Take over the settings in \"%1\"? What the file does not hold stays as it is.")
                 .arg(shownName(path)),
             parent);
}

void showExchangeMenu(QWidget* parent, QPoint globalPos)
{
    auto* menu = new QMenu(parent);
    menu->setAccessibleName(tr("Settings"));
    menu->addAction(
        tr("Export settings…"), parent, [parent] { exportSettings(parent); }, Qt::QueuedConnection);
    menu->addAction(
        tr("Import settings…"), parent, [parent] { importSettings(parent); }, Qt::QueuedConnection);
    addEarlierStates(menu->addMenu(tr("Earlier states")), parent);
    popUp(menu, globalPos);
}

} // namespace tavik
