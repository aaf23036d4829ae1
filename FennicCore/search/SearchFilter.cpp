#include "SearchFilter.h"

#include "model/DownloadSource.h"
#include "model/Fmt.h"

namespace fennic {

namespace {

template <class... Ts> struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <class... Ts> Overloaded(Ts...) -> Overloaded<Ts...>;

QString number(double value) { return QString::number(value, 'g', 17); }

}  // namespace

QString rawValue(SearchFilter::Category category)
{
    switch (category) {
    case SearchFilter::Category::what: return QStringLiteral("what");
    case SearchFilter::Category::when: return QStringLiteral("when");
    case SearchFilter::Category::size: return QStringLiteral("size");
    case SearchFilter::Category::place: return QStringLiteral("place");
    case SearchFilter::Category::words: return QStringLiteral("words");
    case SearchFilter::Category::sight: return QStringLiteral("sight");
    case SearchFilter::Category::mine: return QStringLiteral("mine");
    }
    return {};
}

QString SearchFilter::caseName() const
{
    static const char* const kNames[] = {"kind",   "exts", "date",  "minSize", "maxSize",    "source",   "camera",
                                         "folder", "text", "looks", "tag",     "screenshot", "favourite"};
    return QLatin1String(kNames[payload.index()]);
}

SearchFilter::Category SearchFilter::category() const
{
    switch (caseOf()) {
    case Case::kind:
    case Case::exts:
    case Case::screenshot: return Category::what;
    case Case::date: return Category::when;
    case Case::minSize:
    case Case::maxSize: return Category::size;
    case Case::source:
    case Case::camera:
    case Case::folder: return Category::place;
    case Case::text: return Category::words;
    case Case::looks: return Category::sight;
    case Case::tag:
    case Case::favourite: return Category::mine;
    }
    return Category::what;
}

QString SearchFilter::label() const
{
    return std::visit(
        Overloaded{
            [](const Kind& k) { return FileKinds::title(k.kind); },
            [](const Exts& e) { return e.label; },
            [](const DateRange& d) { return d.label; },
            [](const MinSize& s) {
                return (s.strict ? QStringLiteral("Over ") : QStringLiteral("At least ")) + Fmt::size(s.bytes);
            },
            [](const MaxSize& s) {
                return (s.strict ? QStringLiteral("Under ") : QStringLiteral("At most ")) + Fmt::size(s.bytes);
            },
            [](const Source& s) { return s.name; },
            [](const Camera& c) { return c.name; },
            [](const Folder& f) { return f.name; },
            [](const Text& t) { return t.words; },
            [](const Looks& l) { return QStringLiteral("Showing \u201C") + l.description + QStringLiteral("\u201D"); },
            [](const Tag& t) { return t.name; },
            [](const Screenshot&) { return QStringLiteral("Screenshots"); },
            [](const Favourite&) { return QStringLiteral("Favourites"); },
        },
        payload);
}

QString SearchFilter::symbol() const
{
    return std::visit(Overloaded{
                          [](const Kind& k) { return FileKinds::symbol(k.kind); },
                          [](const Exts&) { return QStringLiteral("doc"); },
                          [](const DateRange&) { return QStringLiteral("calendar"); },
                          [](const MinSize&) { return QStringLiteral("scalemass"); },
                          [](const MaxSize&) { return QStringLiteral("scalemass"); },
                          [](const Source& s) { return DownloadSource::sourceFor(s.key).symbol; },
                          [](const Camera&) { return QStringLiteral("camera"); },
                          [](const Folder&) { return QStringLiteral("folder"); },
                          [](const Text&) { return QStringLiteral("textformat"); },
                          [](const Looks&) { return QStringLiteral("eye"); },
                          [](const Tag&) { return QStringLiteral("tag"); },
                          [](const Screenshot&) { return QStringLiteral("camera.viewfinder"); },
                          [](const Favourite&) { return QStringLiteral("star"); },
                      },
                      payload);
}

QString SearchFilter::id() const
{
    const QString payloadId = std::visit(
        Overloaded{
            [](const Kind& k) { return FileKinds::rawValue(k.kind); },
            [](const Exts& e) { return e.exts.join(u',') + u'|' + e.label; },
            [](const DateRange& d) { return number(d.from.seconds) + u'|' + number(d.to.seconds) + u'|' + d.label; },
            [](const MinSize& s) {
                return QString::number(s.bytes) + (s.strict ? QStringLiteral("|strict") : QString());
            },
            [](const MaxSize& s) {
                return QString::number(s.bytes) + (s.strict ? QStringLiteral("|strict") : QString());
            },
            [](const Source& s) { return s.key + u'|' + s.name; },
            [](const Camera& c) { return c.name; },
            [](const Folder& f) { return f.path + u'|' + f.name; },
            [](const Text& t) { return t.words; },
            [](const Looks& l) { return l.description; },
            [](const Tag& t) { return t.name; },
            [](const Screenshot&) { return QString(); },
            [](const Favourite&) { return QString(); },
        },
        payload);
    return caseName() + u':' + payloadId;
}

bool SearchFilter::isType() const
{
    const Case c = caseOf();
    return c == Case::kind || c == Case::exts || c == Case::screenshot;
}

size_t qHash(const SearchFilter& filter, size_t seed) noexcept { return qHash(filter.id(), seed); }

}  // namespace fennic
