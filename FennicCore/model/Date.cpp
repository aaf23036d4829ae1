#include "Date.h"

#include <QTimeZone>
#include <cmath>

namespace fennic {

Date Date::fromIso(const QString& iso)
{
    QDateTime dt = QDateTime::fromString(iso, Qt::ISODateWithMs);
    if (!dt.isValid()) dt = QDateTime::fromString(iso, Qt::ISODate);
    return dt.isValid() ? fromQDateTime(dt) : distantPast();
}

QDateTime Date::toQDateTime(const QTimeZone& zone) const
{
    const auto ms = static_cast<qint64>(std::llround(toUnix() * 1000.0));
    return QDateTime::fromMSecsSinceEpoch(ms, zone);
}

QDateTime Date::toQDateTime() const
{
    const auto ms = static_cast<qint64>(std::llround(toUnix() * 1000.0));
    return QDateTime::fromMSecsSinceEpoch(ms);
}

QString Date::toIso() const { return toQDateTime(QTimeZone::utc()).toString(Qt::ISODateWithMs); }

}  // namespace fennic
