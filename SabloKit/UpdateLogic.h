#pragma once

#include <QByteArray>
#include <QString>

class QSettings;

namespace fennic::UpdateLogic {

// Whether version `a` orders after version `b`, comparing digit runs as numbers and the rest
// as text: "2.10" is newer than "2.9", "2.0" is not newer than "2.0".
bool isNewer(const QString& a, const QString& b);

// Whether a system of version `system` meets `minimum`; both are dotted numbers compared
// component by component, a missing component counting as 0 ("12" meets "12.0"). An empty
// minimum is always met; an unreadable system version meets only an empty minimum.
bool systemSupports(const QString& minimum, const QString& system);

// The running distribution's version: VERSION_ID of the os-release file at `osRelease`
// ("12" on Debian 12, "22.04" on Ubuntu 22.04), or empty when it cannot be read.
QString runningSystemVersion(const QString& osRelease = QStringLiteral("/etc/os-release"));

// Whether `version` has not been announced yet; marks it announced in `settings` under
// "SabloAnnounced-" followed by the version, so each version is announced once.
bool shouldAnnounce(QSettings& settings, const QString& version);

// Whether `signature` (base64) is a valid Ed25519 signature of `data` under `publicKey`
// (base64 of the raw 32-byte key). Any decoding or key failure gives false.
bool verify(const QByteArray& data, const QString& signature, const QString& publicKey);

// Whether the installed application folder may be replaced by this user: the folder and its
// parent are writable, it is not a system package (under /usr, or under /opt owned by root)
// and it is not on a read-only mount.
bool canInstallInPlace(const QString& bundleFolder);

}  // namespace fennic::UpdateLogic
