#pragma once

#include <QByteArray>
#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>

struct evp_md_ctx_st;

namespace fennic {

// An incremental SHA-256 digest over OpenSSL's EVP interface (which uses the processor's SHA
// instructions where there are any). Movable, not copyable; clone() forks the running state,
// so one pass over a file can yield both the digest of its first bytes and of all of it.
// One instance per thread.
class Sha256 {
public:
    using Digest = std::array<std::uint8_t, 32>;

    Sha256();
    ~Sha256();
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;

    bool valid() const { return m_ctx != nullptr; }
    void update(const void* data, std::size_t size);
    // The digest of everything fed so far; the instance must not be used afterwards.
    Digest finish();
    // A copy of the running state.
    Sha256 clone() const;

    static QString hex(const Digest& digest);  // lower case, 64 characters

private:
    explicit Sha256(evp_md_ctx_st* ctx) : m_ctx(ctx) { }
    evp_md_ctx_st* m_ctx = nullptr;
};

// A regular file opened for reading front to back, with the page cache told so (anything
// else, such as a folder or a named pipe, is not opened). Closes on destruction. Opened without updating the access
// time where the system allows it, so that looking for duplicates does not disturb "last used" dates.
class ReadOnlyFile {
public:
    explicit ReadOnlyFile(const QString& path);
    ~ReadOnlyFile();
    ReadOnlyFile(const ReadOnlyFile&) = delete;
    ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }
    // Reads up to `size` bytes at `offset`, retrying short reads until `size` bytes or the end
    // of the file; -1 on a read error.
    qint64 readAt(qint64 offset, char* buffer, qint64 size);

private:
    int m_fd = -1;
};

// Feeds the file from `offset` to `digest` in chunks of `chunk` bytes until end of file or
// until `limit` bytes (counted from `offset`) were fed; returns the bytes fed, or none on a
// read error. `buffer` must hold `chunk` bytes.
std::optional<qint64> feedFile(ReadOnlyFile& file, Sha256& digest, qint64 offset, std::optional<qint64> limit,
                               char* buffer, qint64 chunk);

}  // namespace fennic
