// Feeds arbitrary bytes, as a picture's contents, to the camera-date reader the scan runs on
// every photograph. Besides crashes and reads outside the input, it checks that a date is
// only ever reported together with a DateTimeOriginal.
#include "library/ExifReader.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto result = fennic::ExifReader::readDateFields(reinterpret_cast<const char*>(data), qsizetype(size));
    if (result.outcome == fennic::ExifReader::Outcome::found && result.fields.dateTime.isEmpty()) std::abort();
    return 0;
}
