#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace fennic {

// A place downloads come from: a known service ("gmail") or any other site ("site:host").
struct DownloadSource {
    QString key;     // stored in FileItem::sourceKey; "site:" + host for unknown sites
    QString name;    // shown in the interface
    QString symbol;  // icon name

    const QString& id() const { return key; }
    friend bool operator==(const DownloadSource&, const DownloadSource&) = default;

    struct Known;
    // The fixed table of known services, in the order they are tried.
    static const std::vector<Known>& known();

    // The source key of a where-from list: the first known pattern found anywhere in the
    // joined, lower-cased list wins; otherwise the host of the last entry that has one.
    static std::optional<QString> keyFor(const QStringList& whereFrom);
    // The record for a key; total: unknown keys get the globe symbol.
    static DownloadSource sourceFor(const QString& key);
};

struct DownloadSource::Known {
    DownloadSource source;
    QStringList patterns;  // lower-case URL fragments, matched as substrings
};

}  // namespace fennic
