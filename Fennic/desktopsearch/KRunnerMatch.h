#pragma once

#include <QDBusArgument>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace fennic {

// One result as KRunner's D-Bus runners hand it over: (s id, s text, s icon name, i type,
// d relevance, a{sv} properties).
struct KRunnerMatch {
    // KRunner's match types: an exact match ranks above a possible one.
    static constexpr int kExact = 100;
    static constexpr int kPossible = 30;

    QString id;
    QString text;
    QString iconName;
    int type = kPossible;
    double relevance = 0;
    QVariantMap properties;  // "subtext": the folder; "urls": the file's URL
};

// One extra action offered on every result: (s id, s text, s icon name).
struct KRunnerAction {
    QString id;
    QString text;
    QString iconName;
};

QDBusArgument& operator<<(QDBusArgument& arg, const KRunnerMatch& match);
const QDBusArgument& operator>>(const QDBusArgument& arg, KRunnerMatch& match);
QDBusArgument& operator<<(QDBusArgument& arg, const KRunnerAction& action);
const QDBusArgument& operator>>(const QDBusArgument& arg, KRunnerAction& action);

}  // namespace fennic

Q_DECLARE_METATYPE(fennic::KRunnerMatch)
Q_DECLARE_METATYPE(fennic::KRunnerAction)
