#pragma once

#include "model/Date.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <array>
#include <cstdint>
#include <optional>

namespace fennic {

// The six clean-up rules that propose files the user has probably forgotten, in display order.
// A rule only proposes: the user reviews the files and the chosen ones go to the Trash.
enum class CleanupKind : std::uint8_t {
    downloads,
    installers,
    screenshots,
    videos,
    apps,
    large
};

namespace CleanupKinds {

inline constexpr std::array<CleanupKind, 6> allCases{CleanupKind::downloads,   CleanupKind::installers,
                                                     CleanupKind::screenshots, CleanupKind::videos,
                                                     CleanupKind::apps,        CleanupKind::large};
inline constexpr double kDay = 86400.0;

QString rawValue(CleanupKind kind);  // "downloads", ...; also the id
std::optional<CleanupKind> fromRawValue(QStringView raw);
QString title(CleanupKind kind);   // "Forgotten downloads"
QString detail(CleanupKind kind);  // "In Downloads and untouched for over 3 months"
QString symbol(CleanupKind kind);  // icon name, "arrow.down.circle"
QString noun(CleanupKind kind);    // for counted messages: "app" for apps, otherwise "file"

// One rule's proposal; identified by its kind.
struct Suggestion {
    CleanupKind kind = CleanupKind::downloads;
    QList<FileItem> files;  // largest first, ties by path

    qint64 size() const;  // the sum of the files' sizes
};

// The items the rule proposes at `now`, largest first, ties by path in plain string order.
// `downloads` is the Downloads folder (absolute, with or without a trailing "/"). Pure; any
// thread.
QList<FileItem> files(CleanupKind kind, const QList<FileItem>& items, Date now, const QString& downloads);

// One suggestion per rule in declared order; a suggestion may be empty. One pass over the
// items, so it is cheap enough to recompute after every scan.
QList<Suggestion> suggestions(const QList<FileItem>& items, Date now, const QString& downloads);

// The total size of every proposed file, each path counted once even when several rules
// propose it, so that it adds up with what the review pages show.
qint64 reclaimable(const QList<Suggestion>& suggestions);

// The automatic installer rule, off until the user turns it on in Settings: after every scan,
// the installers that arrived more than 30 days ago go to the Trash. It waits longer than the
// clean-up page's week because nobody reviews what it takes.
inline constexpr double kAutoInstallerAge = 30 * kDay;

// The rule's line in Settings, naming the kinds of file it takes.
QString autoInstallerSetting();

// The installers the automatic rule takes at `now`, in the order of `items`. Judged by when
// each file arrived, not when it was made, so an old installer downloaded today stays.
QList<FileItem> autoInstallers(const QList<FileItem>& items, Date now);

}  // namespace CleanupKinds
}  // namespace fennic
