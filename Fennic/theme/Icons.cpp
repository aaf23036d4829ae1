#include "Icons.h"

#include <QHash>
#include <QPainter>

namespace fennic::Icons {

namespace {

QIcon tinted(const QIcon& symbolic, const QColor& colour)
{
    QIcon result;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        for (const qreal dpr : {1.0, 2.0}) {
            QPixmap pixmap = symbolic.pixmap(QSize(size, size), dpr);
            if (pixmap.isNull()) continue;
            QPainter p(&pixmap);
            p.setCompositionMode(QPainter::CompositionMode_SourceIn);
            p.fillRect(pixmap.rect(), colour);
            p.end();
            result.addPixmap(pixmap);
        }
    }
    return result;
}

QIcon lookUp(const QString& name, const QPalette& palette)
{
    if (QIcon::hasThemeIcon(name) && !name.endsWith(QStringLiteral("-symbolic"))) {
        QIcon icon = QIcon::fromTheme(name);
        // A theme may answer a plain name with its symbolic file; tint it all the same.
        if (!icon.name().endsWith(QStringLiteral("-symbolic"))) return icon;
    }
    const QString symbolic = name.endsWith(QStringLiteral("-symbolic")) ? name : name + QStringLiteral("-symbolic");
    if (QIcon::hasThemeIcon(symbolic)) return tinted(QIcon::fromTheme(symbolic), palette.color(QPalette::WindowText));
    return {};
}

}  // namespace

QIcon themed(const QString& name, const QPalette& palette, const QStringList& fallbacks)
{
    // Tinting draws pixmaps; remember each answer per palette colour.
    static QHash<QString, QIcon> cache;
    const QString key = name + QLatin1Char('|') + fallbacks.join(QLatin1Char(',')) + QLatin1Char('|')
        + palette.color(QPalette::WindowText).name();
    if (auto it = cache.constFind(key); it != cache.constEnd()) return *it;
    QIcon icon = lookUp(name, palette);
    for (const QString& other : fallbacks) {
        if (!icon.isNull()) break;
        icon = lookUp(other, palette);
    }
    cache.insert(key, icon);
    return icon;
}

QString forSymbol(const QString& symbol)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("trash"), QStringLiteral("user-trash")},
         {QStringLiteral("arrow.uturn.backward"), QStringLiteral("edit-undo")},
          {QStringLiteral("exclamationmark.triangle"), QStringLiteral("dialog-warning")},
           {QStringLiteral("tag"), QStringLiteral("bookmark-new")},
            {QStringLiteral("bookmark"), QStringLiteral("bookmark-new")},
             {QStringLiteral("rectangle.stack"), QStringLiteral("view-paged")},
              {QStringLiteral("rectangle.stack.badge.plus"), QStringLiteral("folder-new")},
               {QStringLiteral("tray.and.arrow.down"), QStringLiteral("folder-download")},
                {QStringLiteral("arrow.down.circle"), QStringLiteral("folder-download")},
                 {QStringLiteral("xmark.circle.fill"), QStringLiteral("edit-clear")},
                  {QStringLiteral("magnifyingglass"), QStringLiteral("system-search")},
                   {QStringLiteral("star"), QStringLiteral("starred")},
                    {QStringLiteral("checkmark.circle"), QStringLiteral("emblem-ok")},
                     {QStringLiteral("doc.on.doc"), QStringLiteral("edit-copy")},
                    };
    return names.value(symbol, QStringLiteral("dialog-information"));
}

}  // namespace fennic::Icons
