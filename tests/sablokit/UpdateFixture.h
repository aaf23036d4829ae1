#pragma once

#include "SabloKit/BundleInfo.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <memory>

typedef struct evp_pkey_st EVP_PKEY;

namespace fennic::test {

// A fresh Ed25519 key pair, as the maker holds it.
class SigningKey {
public:
    SigningKey();
    ~SigningKey();
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    QString publicKey() const;                   // base64 of the raw 32 bytes
    QString sign(const QByteArray& data) const;  // base64 of the 64-byte signature

private:
    EVP_PKEY* m_key;
};

// Writes an application folder at `folder`: the information file for `info`, bin/fennic,
// share/fennic/notes.txt, a link bin/fennic-latest -> fennic, and a matching manifest.
void makeApp(const QString& folder, const BundleInfo& info);

// One archive member written as it is, for archives no release would make.
struct RawEntry {
    enum class Type {
        file,
        folder,
        link
    };
    QString path;
    Type type = Type::file;
    QByteArray content;  // the file's bytes or the link's target
};

// A zip of the folder `root` (members named relative to its parent, so the folder itself is
// the top-level entry), followed by `extra`; links are stored as links.
QByteArray zipFolder(const QString& root, const QList<RawEntry>& extra = {});
QByteArray zipEntries(const QList<RawEntry>& entries);

}  // namespace fennic::test
