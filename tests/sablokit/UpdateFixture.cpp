#include "UpdateFixture.h"
#include "SabloKit/BundleManifest.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <unistd.h>

namespace fennic::test {

SigningKey::SigningKey() : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")) { }
SigningKey::~SigningKey() { EVP_PKEY_free(m_key); }

QString SigningKey::publicKey() const
{
    unsigned char raw[32];
    size_t size = sizeof raw;
    EVP_PKEY_get_raw_public_key(m_key, raw, &size);
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(raw), qsizetype(size)).toBase64());
}

QString SigningKey::sign(const QByteArray& data) const
{
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    unsigned char signature[64];
    size_t size = sizeof signature;
    EVP_DigestSignInit(context, nullptr, nullptr, nullptr, m_key);
    EVP_DigestSign(context, signature, &size, reinterpret_cast<const unsigned char*>(data.constData()),
                   size_t(data.size()));
    EVP_MD_CTX_free(context);
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(signature), qsizetype(size)).toBase64());
}

void makeApp(const QString& folder, const BundleInfo& info)
{
    QDir().mkpath(folder + QStringLiteral("/bin"));
    QDir().mkpath(folder + QStringLiteral("/share/fennic"));
    ASSERT_TRUE(info.write(folder));
    QFile program(folder + QStringLiteral("/bin/fennic"));
    ASSERT_TRUE(program.open(QIODevice::WriteOnly));
    program.write("#!/bin/sh\necho Fennic " + info.shortVersion.toUtf8() + "\n");
    program.close();
    program.setPermissions(program.permissions() | QFileDevice::ExeOwner);
    QFile notes(folder + QStringLiteral("/share/fennic/notes.txt"));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("version " + info.shortVersion.toUtf8() + "\n");
    notes.close();
    QFile::link(QStringLiteral("fennic"), folder + QStringLiteral("/bin/fennic-latest"));
    ASSERT_TRUE(BundleManifest::write(folder));
}

namespace {

struct Writer {
    struct archive* archive = archive_write_new();
    QString path;

    explicit Writer(const QString& file) : path(file)
    {
        archive_write_set_format_zip(archive);
        archive_write_open_filename(archive, QFile::encodeName(file).constData());
    }
    void add(const RawEntry& entry, int mode = 0644)
    {
        struct archive_entry* e = archive_entry_new();
        archive_entry_set_pathname(e, QFile::encodeName(entry.path).constData());
        switch (entry.type) {
        case RawEntry::Type::file:
            archive_entry_set_filetype(e, AE_IFREG);
            archive_entry_set_perm(e, mode);
            archive_entry_set_size(e, entry.content.size());
            break;
        case RawEntry::Type::folder:
            archive_entry_set_filetype(e, AE_IFDIR);
            archive_entry_set_perm(e, 0755);
            break;
        case RawEntry::Type::link:
            archive_entry_set_filetype(e, AE_IFLNK);
            archive_entry_set_perm(e, 0777);
            archive_entry_set_symlink(e, entry.content.constData());
            break;
        }
        archive_write_header(archive, e);
        if (entry.type == RawEntry::Type::file)
            archive_write_data(archive, entry.content.constData(), entry.content.size());
        archive_entry_free(e);
    }
    QByteArray finish()
    {
        archive_write_close(archive);
        archive_write_free(archive);
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        QByteArray bytes = file.readAll();
        file.remove();
        return bytes;
    }
};

QString scratchZip() { return QDir::temp().filePath(QStringLiteral("sablo-test-%1.zip").arg(qApp->applicationPid())); }

}  // namespace

QByteArray zipFolder(const QString& root, const QList<RawEntry>& extra)
{
    Writer writer(scratchZip());
    const QDir base = QFileInfo(root).dir();
    writer.add({base.relativeFilePath(root), RawEntry::Type::folder, {}});
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        const QString name = base.relativeFilePath(path);
        if (info.isSymLink()) {
            // The link's own text: QFile::symLinkTarget() would make it absolute.
            QByteArray target(4096, '\0');
            const ssize_t n = ::readlink(QFile::encodeName(path).constData(), target.data(), size_t(target.size()));
            target.truncate(qsizetype(std::max<ssize_t>(n, 0)));
            writer.add({name, RawEntry::Type::link, target});
            continue;
        }
        if (info.isDir()) {
            writer.add({name, RawEntry::Type::folder, {}});
            continue;
        }
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        writer.add({name, RawEntry::Type::file, file.readAll()}, info.isExecutable() ? 0755 : 0644);
    }
    for (const RawEntry& entry : extra) writer.add(entry);
    return writer.finish();
}

QByteArray zipEntries(const QList<RawEntry>& entries)
{
    Writer writer(scratchZip());
    for (const RawEntry& entry : entries) writer.add(entry);
    return writer.finish();
}

}  // namespace fennic::test
