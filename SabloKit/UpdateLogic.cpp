#include "UpdateLogic.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QSettings>
#include <memory>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace fennic::UpdateLogic {
namespace {

// Compares two digit runs as numbers without converting them, so that any length works.
int compareNumbers(QStringView a, QStringView b)
{
    while (a.size() > 1 && a.front() == u'0') a = a.mid(1);
    while (b.size() > 1 && b.front() == u'0') b = b.mid(1);
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

int compareVersions(const QString& a, const QString& b)
{
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            qsizetype endA = i, endB = j;
            while (endA < a.size() && a[endA].isDigit()) ++endA;
            while (endB < b.size() && b[endB].isDigit()) ++endB;
            const int order = compareNumbers(QStringView(a).mid(i, endA - i), QStringView(b).mid(j, endB - j));
            if (order != 0) return order;
            i = endA;
            j = endB;
            continue;
        }
        if (a[i] != b[j]) return a[i] < b[j] ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

// Dotted numbers, or none when a component is not a number.
std::optional<QList<qulonglong>> dottedNumbers(const QString& text)
{
    QList<qulonglong> parts;
    for (const QString& part : text.trimmed().split(u'.')) {
        bool ok = false;
        const qulonglong n = part.toULongLong(&ok);
        if (!ok) return std::nullopt;
        parts.append(n);
    }
    return parts;
}

std::optional<QByteArray> fromBase64(const QString& text)
{
    const auto result =
        QByteArray::fromBase64Encoding(text.trimmed().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!result) return std::nullopt;
    return result.decoded;
}

bool isUnder(const QString& path, const QString& folder) { return path == folder || path.startsWith(folder + u'/'); }

}  // namespace

bool isNewer(const QString& a, const QString& b) { return compareVersions(a, b) > 0; }

bool systemSupports(const QString& minimum, const QString& system)
{
    if (minimum.trimmed().isEmpty()) return true;
    const auto need = dottedNumbers(minimum);
    const auto have = dottedNumbers(system);
    if (!need || !have) return false;
    const qsizetype count = std::max(need->size(), have->size());
    for (qsizetype k = 0; k < count; ++k) {
        const qulonglong n = k < need->size() ? need->at(k) : 0;
        const qulonglong h = k < have->size() ? have->at(k) : 0;
        if (h != n) return h > n;
    }
    return true;
}

QString runningSystemVersion(const QString& osRelease)
{
    QFile file(osRelease);
    if (!file.open(QIODevice::ReadOnly)) return {};
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.startsWith(u"VERSION_ID=")) continue;
        QString value = line.mid(11).trimmed();
        if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') && value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        return value;
    }
    return {};
}

bool shouldAnnounce(QSettings& settings, const QString& version)
{
    const QString key = QStringLiteral("SabloAnnounced-") + version;
    if (settings.value(key).toBool()) return false;
    settings.setValue(key, true);
    settings.sync();
    return true;
}

bool verify(const QByteArray& data, const QString& signature, const QString& publicKey)
{
    const auto sig = fromBase64(signature);
    const auto key = fromBase64(publicKey);
    if (!sig || !key || key->size() != 32 || sig->size() != 64) return false;
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> pkey(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, reinterpret_cast<const unsigned char*>(key->constData()),
                                    size_t(key->size())),
        &EVP_PKEY_free);
    if (!pkey) return false;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context || EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, pkey.get()) != 1) return false;
    return EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(sig->constData()),
                            size_t(sig->size()), reinterpret_cast<const unsigned char*>(data.constData()),
                            size_t(data.size()))
        == 1;
}

bool canInstallInPlace(const QString& bundleFolder)
{
    const QFileInfo info(bundleFolder);
    if (bundleFolder.isEmpty() || !info.isDir()) return false;
    const QString path = info.canonicalFilePath();
    const QString parent = QFileInfo(path).path();
    if (isUnder(path, QStringLiteral("/usr"))) return false;
    struct stat st { };
    if (isUnder(path, QStringLiteral("/opt")) && ::stat(QFile::encodeName(path).constData(), &st) == 0
                && st.st_uid == 0)
        return false;
    if (::access(QFile::encodeName(path).constData(), W_OK) != 0) return false;
    if (::access(QFile::encodeName(parent).constData(), W_OK) != 0) return false;
    struct statvfs vfs { };
    if (::statvfs(QFile::encodeName(path).constData(), &vfs) == 0 && (vfs.f_flag & ST_RDONLY) != 0) return false;
    return true;
}

}  // namespace fennic::UpdateLogic
