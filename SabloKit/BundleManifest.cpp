#include "BundleManifest.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <algorithm>
#include <memory>
#include <openssl/evp.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fennic::BundleManifest {
namespace {

class Sha256 {
public:
    Sha256() : m_context(EVP_MD_CTX_new(), &EVP_MD_CTX_free)
    {
        if (m_context) EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr);
    }
    void add(const char* data, qint64 size)
    {
        if (m_context) EVP_DigestUpdate(m_context.get(), data, size_t(size));
    }
    QByteArray hex()
    {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        if (!m_context || EVP_DigestFinal_ex(m_context.get(), digest, &length) != 1) return {};
        return QByteArray(reinterpret_cast<const char*>(digest), int(length)).toHex();
    }

private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

QByteArray fileDigest(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    Sha256 sha;
    constexpr qint64 kChunk = 1 << 20;
    std::vector<char> buffer(kChunk);
    for (;;) {
        const qint64 n = file.read(buffer.data(), kChunk);
        if (n < 0) return {};
        if (n == 0) break;
        sha.add(buffer.data(), n);
    }
    return sha.hex();
}

QByteArray linkDigest(const QString& path)
{
    // The seal is over the link's own text (QFile::symLinkTarget would make it absolute).
    QByteArray raw(4096, '\0');
    const ssize_t n = ::readlink(QFile::encodeName(path).constData(), raw.data(), size_t(raw.size()));
    if (n < 0 || n >= raw.size()) return {};
    raw.truncate(qsizetype(n));
    Sha256 sha;
    sha.add(raw.constData(), raw.size());
    return sha.hex();
}

// Every file and link below `folder` but the manifest, relative, in byte order; none when
// something else is there or a name cannot be written on one line.
std::optional<std::vector<QByteArray>> members(const QString& folder)
{
    std::vector<QByteArray> found;
    const QDir root(folder);
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QByteArray relative = QFile::encodeName(root.relativeFilePath(path));
        struct stat st { };
        if (::lstat(QFile::encodeName(path).constData(), &st) != 0) return std::nullopt;
        if (S_ISDIR(st.st_mode)) continue;
        if (!S_ISREG(st.st_mode) && !S_ISLNK(st.st_mode)) return std::nullopt;
        if (relative.contains('\n') || relative.contains('\r')) return std::nullopt;
        if (relative == kFileName) continue;
        found.push_back(relative);
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

QByteArray compute(const QString& folder)
{
    const auto files = members(folder);
    if (!files) return {};
    QByteArray text;
    for (const QByteArray& relative : *files) {
        const QString path = QDir(folder).filePath(QFile::decodeName(relative));
        const QByteArray digest = QFileInfo(path).isSymLink() ? linkDigest(path) : fileDigest(path);
        if (digest.isEmpty()) return {};
        text += digest + "  " + relative + '\n';
    }
    return text;
}

bool write(const QString& folder)
{
    const QByteArray text = compute(folder);
    QSaveFile file(QDir(folder).filePath(QLatin1String(kFileName)));
    if (!file.open(QIODevice::WriteOnly)) return false;
    file.write(text);
    return file.commit();
}

bool matches(const QString& folder)
{
    QFile file(QDir(folder).filePath(QLatin1String(kFileName)));
    if (QFileInfo(file.fileName()).isSymLink() || !file.open(QIODevice::ReadOnly)) return false;
    // The order of the lines is not part of the seal: compare them sorted.
    const auto sortedLines = [](const QByteArray& text) {
        QList<QByteArray> lines = text.split('\n');
        lines.removeAll(QByteArray());
        std::sort(lines.begin(), lines.end());
        return lines;
    };
    const QList<QByteArray> listed = sortedLines(file.readAll());
    // An empty seal would vouch for nothing; an application has files.
    return !listed.isEmpty() && listed == sortedLines(compute(folder));
}

}  // namespace fennic::BundleManifest
