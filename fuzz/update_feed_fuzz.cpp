// Feeds arbitrary bytes to the update feed decoder, which reads whatever a server (or anyone
// between it and us) sends. Besides crashes it checks that an accepted feed survives its own
// encoder unchanged and that the decisions taken on it are total.
#include "SabloKit/UpdateFeed.h"
#include "SabloKit/UpdateLogic.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto feed = fennic::UpdateFeed::decode(bytes);
    if (!feed) return 0;
    const auto again = fennic::UpdateFeed::decode(feed->encode());
    if (!again || !(*again == *feed)) std::abort();
    if (feed->download.length < 0) std::abort();
    // A version is never newer than itself, and two versions are not each newer than the other.
    const QString installed = QStringLiteral("2.9");
    if (fennic::UpdateLogic::isNewer(feed->version, feed->version)) std::abort();
    if (fennic::UpdateLogic::isNewer(feed->version, installed)
        && fennic::UpdateLogic::isNewer(installed, feed->version))
        std::abort();
    if (feed->minimumSystemVersion)
        (void)fennic::UpdateLogic::systemSupports(*feed->minimumSystemVersion, QStringLiteral("12"));
    (void)fennic::UpdateLogic::verify(bytes, feed->download.edSignature, feed->download.edSignature);
    return 0;
}
