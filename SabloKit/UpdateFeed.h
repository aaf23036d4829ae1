#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace fennic {

// The archive a feed offers: where it is, its exact size and the base64 Ed25519 signature of
// its bytes.
struct UpdateDownload {
    QString url;
    qint64 length = 0;
    QString edSignature;

    friend bool operator==(const UpdateDownload&, const UpdateDownload&) = default;
};

// One release as the update feed describes it. The JSON keys equal the field names.
struct UpdateFeed {
    QString version;  // short version, compared with the installed "CFBundleShortVersionString"
    QString url;      // page about the release
    QString notes;    // release notes shown in the update window
    std::optional<QString> minimumSystemVersion;  // dotted numbers, e.g. "12" or "22.04"
    UpdateDownload download;

    friend bool operator==(const UpdateFeed&, const UpdateFeed&) = default;

    // The feed in `json`, or none when it is not a JSON object with a non-empty version, a
    // download URL, a non-negative integral length and a signature. Never throws; any input is
    // safe.
    static std::optional<UpdateFeed> decode(const QByteArray& json);
    QByteArray encode() const;
};

}  // namespace fennic
