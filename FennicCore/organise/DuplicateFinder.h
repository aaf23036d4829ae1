#pragma once

#include "DuplicateGroup.h"
#include "model/FileItem.h"

#include <QList>
#include <QString>
#include <atomic>
#include <functional>
#include <optional>

namespace fennic {

// Finds byte-identical files and look-alike photos in a list of library items. Stateless and
// pure apart from reading the files; every function may run on any thread (the app runs them
// on a background task). Unreadable files are silently left out.
namespace DuplicateFinder {

// Called with a fraction from 0 to 1, never decreasing, on the thread that called the finder.
using Progress = std::function<void(double)>;
// A picture's feature print: an embedding whose Euclidean distance measures unlikeness.
using FeaturePrint = QList<float>;
// Makes the feature print of the image at a path, or none when it cannot be made. Called at
// most once per candidate, on the thread that called lookalikes().
using FeaturePrintProvider = std::function<std::optional<FeaturePrint>(const QString& path)>;

inline constexpr qint64 kMinimumSize = 1024;   // smaller files are never reported
inline constexpr qint64 kPrefixBytes = 65536;  // the first pass reads only this much
inline constexpr qint64 kHashChunk = 1048576;  // files are read and hashed 1 MiB at a time
inline constexpr qint64 kLookalikeMaxSize = 60'000'000;
inline constexpr double kLookalikeWindow = 180.0;  // what the app passes, in seconds
inline constexpr float kLookalikeThreshold = 0.45f;
// Each picture is compared with at most this many that follow it. Only a crowd sharing one
// moment reaches it (a folder copied in one go, without camera dates): its pictures are then
// in name order, the order cameras number them in, so the frames of a burst stand together and
// chains of neighbours join them, while thousands of pictures cost linear time.
inline constexpr qsizetype kLookalikeNeighbours = 64;

// Exact duplicates among the items that are not apps and hold at least 1,024 bytes. Only
// files with a size twin are read; two names of one file (hard links, same volume and file
// number) are never a pair; the first 64 KiB are read first and only files that still have a
// twin are read to the end, where they are grouped by their SHA-256 digests. Each group lists
// its files by path, keeps preferredKeeper(files, downloads), and the groups come largest
// reclaimable first.
//
// Size buckets are shared among `threads` worker threads (0: one per core); `progress` is the
// share of buckets finished, reported from the calling thread, ending with 1.0. When `stop`
// becomes true the work ends early and the result is empty.
QList<DuplicateGroup> exact(const QList<FileItem>& items, const QString& downloads, const Progress& progress = {},
                            const std::atomic<bool>* stop = nullptr, int threads = 0);

// Look-alike photos among the images under 60,000,000 bytes that are not SVG. Each picture is
// compared with those taken (by captureDate(): the camera's date, else `created`; ties in
// name order) at most `window` seconds after it, at most kLookalikeNeighbours of them; a
// distance below `threshold` joins the two, and whole chains of joined pictures form one
// group, in order of capture, keeping the largest file (the earliest of equal sizes). Prints
// of different lengths, or that the provider cannot make, never join. Groups come largest reclaimable first. Progress
// is reported every 25 candidates.
QList<DuplicateGroup> lookalikes(const QList<FileItem>& items, double window, float threshold,
                                 const FeaturePrintProvider& prints, const Progress& progress = {},
                                 const std::atomic<bool>* stop = nullptr);

// The Euclidean distance between two prints; none when their lengths differ or are zero.
std::optional<float> distance(const FeaturePrint& a, const FeaturePrint& b);

// SHA-256 of the file's first `limit` bytes (the whole file when none), in lower-case
// hexadecimal; none when the file cannot be opened or read.
std::optional<QString> hash(const QString& path, std::optional<qint64> limit = std::nullopt);

// The member to keep: one outside `downloads` before one inside it, then the earliest
// created, then the shortest path, then the first. `files` must not be empty.
FileItem preferredKeeper(const QList<FileItem>& files, const QString& downloads);

// The file's volume and file number joined with "-", e.g. "2049-1234567"; none when the
// file's attributes cannot be read. Two hard links of one file share the key.
std::optional<QString> inodeKey(const QString& path);

}  // namespace DuplicateFinder
}  // namespace fennic
