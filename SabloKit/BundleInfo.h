#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace fennic {

// The information file at the top of an installed application folder ("Info.json"): who the
// application is, which version it is and where its updates come from. The JSON keys are the
// ones named beside each field.
struct BundleInfo {
    QString identifier;    // "CFBundleIdentifier"
    QString shortVersion;  // "CFBundleShortVersionString"
    QString feedUrl;       // "SabloUpdateFeedURL"
    QString publicKey;     // "SabloUpdatePublicKey": base64 of the raw 32-byte Ed25519 key

    friend bool operator==(const BundleInfo&, const BundleInfo&) = default;

    static constexpr const char* kFileName = "Info.json";

    // The record in `json`, or none unless it is an object with a non-empty identifier and
    // version (the update keys may be missing: such an application is not updated).
    static std::optional<BundleInfo> decode(const QByteArray& json);
    QByteArray encode() const;

    // The information file of the application folder `folder`, or none when it is missing or
    // unreadable. Reads the disk.
    static std::optional<BundleInfo> read(const QString& folder);
    bool write(const QString& folder) const;
};

// Where the running application lives: its folder when it runs from an application folder
// (the parent of the folder holding the executable, with an information file), otherwise the
// reason it is not updated here, in words for the Settings window.
struct BundleLocation {
    QString folder;      // empty when not found
    QString idleReason;  // empty when found

    // `executableFolder` defaults to QCoreApplication::applicationDirPath().
    static BundleLocation ofRunningApplication(const QString& executableFolder = {});
};

}  // namespace fennic
