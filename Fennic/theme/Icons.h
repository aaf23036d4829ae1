#pragma once

#include <QIcon>
#include <QPalette>
#include <QString>

namespace fennic {

// Icons by their freedesktop names, made to fit the palette. Many icon themes now ship an
// action only in its "-symbolic" form, drawn in one dark colour that the toolkit of their own
// desktop recolours; here such an icon is tinted with the palette's text colour, so it stays
// visible on a dark palette. A full-colour icon is used as it is.
namespace Icons {

// The themed icon `name` ("edit-clear"), its symbolic form, or the first of `fallbacks`
// found; a null icon when none is installed.
QIcon themed(const QString& name, const QPalette& palette, const QStringList& fallbacks = {});

// The freedesktop icon name for a notice's symbol ("trash" → "user-trash").
QString forSymbol(const QString& symbol);

}  // namespace Icons

}  // namespace fennic
