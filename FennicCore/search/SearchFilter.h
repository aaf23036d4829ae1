#pragma once

#include "model/Date.h"
#include "model/FileKind.h"

#include <QHashFunctions>
#include <QString>
#include <QStringList>
#include <variant>

namespace fennic {

// One condition of a request: a kind, a date range, a size bound, a source, a tag, a piece of
// text, a description of a picture... A plain value; equality and hashing cover the case and
// every field of its payload. Build one with the named constructors (SearchFilter::kind(...)).
struct SearchFilter {
    // The cases, in their fixed order (also the order of `Payload`'s alternatives).
    enum class Case : quint8 {
        kind,
        exts,
        date,
        minSize,
        maxSize,
        source,
        camera,
        folder,
        text,
        looks,
        tag,
        screenshot,
        favourite
    };
    // Which kind of condition a filter is; groups chips for presentation.
    enum class Category : quint8 {
        what,
        when,
        size,
        place,
        words,
        sight,
        mine
    };

    struct Kind {
        FileKind kind = FileKind::other;
        friend bool operator==(const Kind&, const Kind&) = default;
    };
    struct Exts {
        QStringList exts;  // lower case, no dot
        QString label;
        friend bool operator==(const Exts&, const Exts&) = default;
    };
    struct DateRange {
        Date from;  // inclusive
        Date to;    // exclusive
        QString label;
        friend bool operator==(const DateRange&, const DateRange&) = default;
    };
    struct MinSize {
        qint64 bytes = 0;
        bool strict = false;  // size > bytes when strict, >= otherwise
        friend bool operator==(const MinSize&, const MinSize&) = default;
    };
    struct MaxSize {
        qint64 bytes = 0;
        bool strict = false;  // size < bytes when strict, <= otherwise
        friend bool operator==(const MaxSize&, const MaxSize&) = default;
    };
    struct Source {
        QString key;   // a DownloadSource key, or a web domain ("example.com")
        QString name;  // shown on the chip
        friend bool operator==(const Source&, const Source&) = default;
    };
    struct Camera {
        QString name;  // "iPhone", "Canon"...; "Camera" means any camera
        friend bool operator==(const Camera&, const Camera&) = default;
    };
    struct Folder {
        QString path;  // absolute, without a trailing "/"
        QString name;
        friend bool operator==(const Folder&, const Folder&) = default;
    };
    struct Text {
        QString words;  // blank-separated, as typed (lower-cased)
        friend bool operator==(const Text&, const Text&) = default;
    };
    struct Looks {
        QString description;
        friend bool operator==(const Looks&, const Looks&) = default;
    };
    struct Tag {
        QString name;  // without "#"
        friend bool operator==(const Tag&, const Tag&) = default;
    };
    struct Screenshot {
        friend bool operator==(const Screenshot&, const Screenshot&) = default;
    };
    struct Favourite {
        friend bool operator==(const Favourite&, const Favourite&) = default;
    };

    using Payload = std::variant<Kind, Exts, DateRange, MinSize, MaxSize, Source, Camera, Folder, Text, Looks, Tag,
                                 Screenshot, Favourite>;
    Payload payload;

    static SearchFilter kind(FileKind k) { return {Kind{k}}; }
    static SearchFilter exts(QStringList exts, QString label) { return {Exts{std::move(exts), std::move(label)}}; }
    static SearchFilter date(Date from, Date to, QString label) { return {DateRange{from, to, std::move(label)}}; }
    static SearchFilter minSize(qint64 bytes, bool strict) { return {MinSize{bytes, strict}}; }
    static SearchFilter maxSize(qint64 bytes, bool strict) { return {MaxSize{bytes, strict}}; }
    static SearchFilter source(QString key, QString name) { return {Source{std::move(key), std::move(name)}}; }
    static SearchFilter camera(QString name) { return {Camera{std::move(name)}}; }
    static SearchFilter folder(QString path, QString name) { return {Folder{std::move(path), std::move(name)}}; }
    static SearchFilter text(QString words) { return {Text{std::move(words)}}; }
    static SearchFilter looks(QString description) { return {Looks{std::move(description)}}; }
    static SearchFilter tag(QString name) { return {Tag{std::move(name)}}; }
    static SearchFilter screenshot() { return {Screenshot{}}; }
    static SearchFilter favourite() { return {Favourite{}}; }

    Case caseOf() const { return static_cast<Case>(payload.index()); }
    // The payload of case T, or null when the filter is of another case.
    template <typename T> const T* as() const { return std::get_if<T>(&payload); }

    // "kind", "exts", "date", ... (the case name).
    QString caseName() const;
    Category category() const;
    // Chip text: "Images", "PDFs", "Last week", "Over 5 MB", "Showing “a beach”"...
    QString label() const;
    // Icon name of the symbol set the interface draws with.
    QString symbol() const;
    // A string that identifies the filter (case and payload), to key chips.
    QString id() const;
    // True for the filters that say what type of file: kind, exts and screenshot.
    bool isType() const;

    friend bool operator==(const SearchFilter&, const SearchFilter&) = default;
};

// "what", "when", "size", "place", "words", "sight", "mine".
QString rawValue(SearchFilter::Category category);

size_t qHash(const SearchFilter& filter, size_t seed = 0) noexcept;

}  // namespace fennic
