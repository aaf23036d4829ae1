// Fuzzes the reader of "images.plist": any bytes must give an index or nothing, never a crash,
// a hang or a read outside the buffer; an index that was read must survive writing and
// reading again.
#include "images/ImageIndex.h"

#include <QByteArray>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto index = fennic::ImageIndex::decode(bytes);
    if (!index) return 0;
    const auto again = fennic::ImageIndex::decode(index->encode());
    if (!again || again->records.size() != index->records.size() || again->languages != index->languages) std::abort();
    return 0;
}
