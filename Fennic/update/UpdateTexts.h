#pragma once

#include <QDateTime>
#include <QString>

namespace fennic {

class Updater;

// What the update window and the Settings row say about the updater, in the same words.
namespace UpdateTexts {

// One line for the current phase: "Checking for updates…", "Fennic 2.10 is available. You
// have 2.9.", the failure's own message, …; empty while idle.
QString status(const Updater& updater);
// A heading for the update window.
QString headline(const Updater& updater);
// "Last checked: today at 14:05", "Last checked: 3 Mar 2026, 09:12" or "Not checked yet".
QString lastChecked(const QDateTime& when, const QDateTime& now);

}  // namespace UpdateTexts

}  // namespace fennic
