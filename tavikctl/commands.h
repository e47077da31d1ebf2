// SPDX-License-Identifier: MIT
#pragma once

#include "pages/keys/layer_write.h"
#include "tavikctl/lighting_words.h"
#include "tavikctl/output.h"

#include <QStringList>

namespace tavik {

// The commands, each in the file of its first word. What they are asked for goes to the output, and
// what they cannot do they throw as a Failure.

void showStatus(const Output& output);

void setLight(const LightWords& words);
void listEffects(const Output& output);
void setSleep(const QString& time);

void showKeys(const Output& output, LayerId layer);
void setKeys(const Output& output, LayerId layer, const QStringList& assignments);
void writeKeys(LayerId layer);

void showColors(const Output& output);
void setColors(const Output& output, const QStringList& assignments);
void writeColors();
void readColors(const Output& output);
void turnColorsOn(int brightness);

void listMacros(const Output& output);
void showMacro(const Output& output, const QString& name);
void setMacro(const Output& output, const QString& name, const QString& steps);
void removeMacro(const Output& output, const QString& name);
void writeMacros(const Output& output);

void sendPictures(const Output& output, const QStringList& paths, int slot);

void exportState(const Output& output, const QString& path);
void importState(const Output& output, const QString& path);
void listEarlier(const Output& output);
void restoreEarlier(const Output& output, int number);

// All that the state file holds, the user's where the path is empty.
void applyState(const QString& path);

// What can be typed for keys, actions, effects or macros, a line each; completion asks for it.
void listNames(const Output& output, const QString& kind);

} // namespace tavik
