#include "DownloadSource.h"

#include <QUrl>

namespace fennic {

const std::vector<DownloadSource::Known>& DownloadSource::known()
{
    static const std::vector<Known> table{
        {{"gmail", "Gmail", "envelope"}, {"mail.google.com", "mail-attachment.googleusercontent.com"}},
        {{"drive", "Google Drive", "externaldrive"},
         {"drive.google.com", "drive.usercontent.google.com", "docs.google.com", "docs.googleusercontent.com"}},
        {{"chatgpt", "ChatGPT", "sparkles"},
         {"chatgpt.com", "chat.openai.com", "oaiusercontent.com", "files.oaiusercontent.com"}},
        {{"claude", "Claude", "sparkle"}, {"claude.ai", "anthropic.com"}},
        {{"canva", "Canva", "paintpalette"}, {"canva.com"}},
        // "://x.com" rather than "x.com", so that hosts such as "netflix.com" don't match.
        {{"x", "X", "xmark"}, {"://x.com", "twitter.com", "twimg.com"}},
        {{"slack", "Slack", "number"}, {"slack.com", "slack-edge.com"}},
        {{"whatsapp", "WhatsApp", "message"}, {"whatsapp.com", "whatsapp.net"}},
        {{"github", "GitHub", "chevron.left.forwardslash.chevron.right"}, {"github.com", "githubusercontent.com"}},
        {{"figma", "Figma", "pencil.and.outline"}, {"figma.com"}},
        {{"notion", "Notion", "doc.richtext"}, {"notion.so", "notion.site", "notion-static.com"}},
        {{"telegram", "Telegram", "paperplane"}, {"t.me/", "telegram.org", "telegram.me"}},
        {{"discord", "Discord", "bubble.left.and.bubble.right"}, {"discord.com", "discordapp.com", "discordapp.net"}},
        {{"dropbox", "Dropbox", "shippingbox"}, {"dropbox.com", "dropboxusercontent.com"}},
        {{"extensions", "Extensions", "puzzlepiece.extension"},
         {"chrome-extension://", "moz-extension://", "safari-web-extension://"}},
    };
    return table;
}

std::optional<QString> DownloadSource::keyFor(const QStringList& whereFrom)
{
    if (whereFrom.isEmpty()) return std::nullopt;
    const QString joined = whereFrom.join(u' ').toLower();
    for (const Known& row : known())
        for (const QString& pattern : row.patterns)
            if (joined.contains(pattern)) return row.source.key;

    for (auto it = whereFrom.crbegin(); it != whereFrom.crend(); ++it) {
        const QUrl url(*it);
        QString host = url.isValid() ? url.host().toLower() : QString();
        if (host.isEmpty()) continue;
        if (host.startsWith(u"www.")) host.remove(0, 4);
        return QStringLiteral("site:") + host;
    }
    return std::nullopt;
}

DownloadSource DownloadSource::sourceFor(const QString& key)
{
    for (const Known& row : known())
        if (row.source.key == key) return row.source;
    if (key.startsWith(u"site:")) return {key, key.mid(5), QStringLiteral("globe")};
    return {key, key, QStringLiteral("globe")};
}

}  // namespace fennic
