#include "AskStyle.h"

namespace fennic::AskStyles {

QString placeholder(AskStyle style)
{
    switch (style) {
    case AskStyle::hero: return QStringLiteral("Ask Fennic — try “pdfs from last week over 5 MB”");
    case AskStyle::toolbar:
    case AskStyle::panel: return QStringLiteral("Ask Fennic — “screenshots from today”");
    case AskStyle::describe: return QStringLiteral("Describe it, or type words you remember from it");
    }
    return {};
}

double scale(AskStyle style)
{
    switch (style) {
    case AskStyle::hero: return 1.4;
    case AskStyle::panel: return 1.25;
    case AskStyle::toolbar:
    case AskStyle::describe: return 1.0;
    }
    return 1.0;
}

double fontFactor(AskStyle style)
{
    switch (style) {
    case AskStyle::hero: return 1.5;
    case AskStyle::panel: return 1.25;
    case AskStyle::toolbar:
    case AskStyle::describe: return 1.0;
    }
    return 1.0;
}

QFont font(AskStyle style, const QFont& base)
{
    QFont f = base;
    const double factor = fontFactor(style);
    if (f.pointSizeF() > 0)
        f.setPointSizeF(f.pointSizeF() * factor);
    else if (f.pixelSize() > 0)
        f.setPixelSize(qRound(f.pixelSize() * factor));
    return f;
}

int height(AskStyle style)
{
    switch (style) {
    case AskStyle::hero: return 56;
    case AskStyle::panel: return 48;
    case AskStyle::toolbar: return 34;
    case AskStyle::describe: return 36;
    }
    return 34;
}

bool showsMagnifier(AskStyle style) { return style != AskStyle::describe; }

}  // namespace fennic::AskStyles
