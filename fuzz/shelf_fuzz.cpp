// Feeds arbitrary bytes to the "shelf.json" reader. Besides crashes it checks that whatever
// the reader accepts survives its own writer unchanged.
#include "organise/Shelf.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto shelf = fennic::Shelf::decode(bytes);
    if (!shelf) return 0;
    const auto again = fennic::Shelf::decode(shelf->encode());
    if (!again || !(*again == *shelf)) std::abort();
    // Exercise the readers the search uses on whatever was decoded.
    for (const QString& path : shelf->favourites()) (void)shelf->isFavourite(path);
    for (const auto& entry : shelf->allTags()) (void)shelf->pathsTagged(entry.tag);
    return 0;
}
