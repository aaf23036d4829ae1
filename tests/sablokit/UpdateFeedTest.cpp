// Decoding the update feed: what a release writes is read back whole, and anything malformed
// is refused rather than half-read.
#include "SabloKit/UpdateFeed.h"

#include <gtest/gtest.h>

using namespace fennic;

TEST(UpdateFeedTest, ReadsWhatAReleaseWrites)
{
    const auto feed = UpdateFeed::decode(R"({
        "version": "2.10", "url": "https://example.org/2.10", "notes": "Faster.\nSmaller.",
        "minimumSystemVersion": "12",
        "download": {"url": "https://example.org/Fennic-2.10.zip", "length": 123456, "edSignature": "c2ln"}
    })");
    ASSERT_TRUE(feed.has_value());
    EXPECT_EQ(feed->version, "2.10");
    EXPECT_EQ(feed->notes, "Faster.\nSmaller.");
    EXPECT_EQ(feed->minimumSystemVersion, std::optional<QString>("12"));
    EXPECT_EQ(feed->download.url, "https://example.org/Fennic-2.10.zip");
    EXPECT_EQ(feed->download.length, 123456);
    EXPECT_EQ(feed->download.edSignature, "c2ln");
    EXPECT_EQ(UpdateFeed::decode(feed->encode()), feed);

    const auto bare =
        UpdateFeed::decode(R"({"version": "3", "download": {"url": "u", "length": 0, "edSignature": ""}})");
    ASSERT_TRUE(bare.has_value()) << "page, notes and the system requirement are optional";
    EXPECT_FALSE(bare->minimumSystemVersion.has_value());
}

TEST(UpdateFeedTest, RefusesMalformedFeeds)
{
    const char* const feeds[] = {
        "",
        "not json",
        "[]",
        R"({"version": "2.10"})",
        R"({"download": {"url": "u", "length": 1, "edSignature": "s"}})",
        R"({"version": "", "download": {"url": "u", "length": 1, "edSignature": "s"}})",
        R"({"version": 2.1, "download": {"url": "u", "length": 1, "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "", "length": 1, "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "u", "length": "1", "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "u", "length": -1, "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "u", "length": 1.5, "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "u", "length": 1e300, "edSignature": "s"}})",
        R"({"version": "2", "download": {"url": "u", "length": 1}})",
        R"({"version": "2", "download": "u"})",
    };
    for (const char* feed : feeds) EXPECT_FALSE(UpdateFeed::decode(feed).has_value()) << feed;
}
