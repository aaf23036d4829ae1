#include "Sha256.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fennic {
namespace {

// Fetched once: an implicit fetch on every digest initialisation takes a lock in OpenSSL 3.
const EVP_MD* sha256Method()
{
    static EVP_MD* md = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return md;
}

}  // namespace

Sha256::Sha256() : m_ctx(EVP_MD_CTX_new())
{
    if (m_ctx && EVP_DigestInit_ex(m_ctx, sha256Method(), nullptr) != 1) {
        EVP_MD_CTX_free(m_ctx);
        m_ctx = nullptr;
    }
}

Sha256::~Sha256() { EVP_MD_CTX_free(m_ctx); }

Sha256::Sha256(Sha256&& other) noexcept : m_ctx(other.m_ctx) { other.m_ctx = nullptr; }

Sha256& Sha256::operator=(Sha256&& other) noexcept
{
    if (this != &other) {
        EVP_MD_CTX_free(m_ctx);
        m_ctx = other.m_ctx;
        other.m_ctx = nullptr;
    }
    return *this;
}

void Sha256::update(const void* data, std::size_t size)
{
    if (m_ctx && size > 0) EVP_DigestUpdate(m_ctx, data, size);
}

Sha256::Digest Sha256::finish()
{
    Digest digest{};
    unsigned int length = 0;
    if (m_ctx) EVP_DigestFinal_ex(m_ctx, digest.data(), &length);
    return digest;
}

Sha256 Sha256::clone() const
{
    EVP_MD_CTX* copy = EVP_MD_CTX_new();
    if (copy && (!m_ctx || EVP_MD_CTX_copy_ex(copy, m_ctx) != 1)) {
        EVP_MD_CTX_free(copy);
        copy = nullptr;
    }
    return Sha256(copy);
}

QString Sha256::hex(const Digest& digest)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    QString text(int(digest.size() * 2), Qt::Uninitialized);
    QChar* out = text.data();
    for (std::uint8_t byte : digest) {
        *out++ = QLatin1Char(kDigits[byte >> 4]);
        *out++ = QLatin1Char(kDigits[byte & 0xf]);
    }
    return text;
}

ReadOnlyFile::ReadOnlyFile(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    // Non-blocking, so that a named pipe put where a file was cannot stall the caller; it is
    // then turned away by the regular-file test (for regular files the flag changes nothing).
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    m_fd = ::open(native.constData(), kFlags | O_NOATIME);
    // O_NOATIME is refused for files the process does not own.
    if (m_fd < 0 && errno == EPERM) m_fd = ::open(native.constData(), kFlags);
    if (m_fd < 0) return;
    struct stat st { };
    if (::fstat(m_fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(m_fd);
        m_fd = -1;
        return;
    }
    ::posix_fadvise(m_fd, 0, 0, POSIX_FADV_SEQUENTIAL);
}

ReadOnlyFile::~ReadOnlyFile()
{
    if (m_fd >= 0) ::close(m_fd);
}

qint64 ReadOnlyFile::readAt(qint64 offset, char* buffer, qint64 size)
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = ::pread(m_fd, buffer + done, size_t(size - done), off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        done += n;
    }
    return done;
}

std::optional<qint64> feedFile(ReadOnlyFile& file, Sha256& digest, qint64 offset, std::optional<qint64> limit,
                               char* buffer, qint64 chunk)
{
    if (!file.isOpen()) return std::nullopt;
    qint64 fed = 0;
    for (;;) {
        const qint64 want = limit ? std::min(chunk, *limit - fed) : chunk;
        if (want <= 0) break;
        const qint64 n = file.readAt(offset + fed, buffer, want);
        if (n < 0) return std::nullopt;
        digest.update(buffer, size_t(n));
        fed += n;
        if (n < want) break;  // end of file
    }
    return fed;
}

}  // namespace fennic
