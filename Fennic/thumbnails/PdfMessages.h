#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QVariant>
#include <poppler-qt6.h>

// Poppler reports each damaged document it is handed on standard error. People's folders hold
// plenty of those (half-downloaded, misnamed, truncated), and a thumbnail or preview that falls
// back to the type's icon is not news, so its messages go to the "fennic.pdf" logging category,
// which stays quiet unless QT_LOGGING_RULES turns it on ("fennic.pdf.debug=true").
namespace fennic::PdfMessages {

inline const QLoggingCategory& category()
{
    static const QLoggingCategory pdf("fennic.pdf", QtWarningMsg);
    return pdf;
}

// Call before the first document is opened; any thread, any number of times.
inline void toLog()
{
    static const bool routed = [] {
        Poppler::setDebugErrorFunction([](const QString& message, const QVariant&) { qCDebug(category) << message; },
                                       QVariant());
        return true;
    }();
    (void)routed;
}

}  // namespace fennic::PdfMessages
