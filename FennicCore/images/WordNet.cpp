#include "images/WordNet.h"

#include "images/ConceptLabels.h"
#include "images/WordNetTable.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace fennic::WordNet {
namespace {

std::string_view lineAt(const char* text, const unsigned* starts, int i)
{
    // Without the trailing "\n".
    return {text + starts[i], size_t(starts[i + 1] - starts[i] - 1)};
}

// The line whose first field is `key`, by binary search over a sorted section.
std::optional<std::string_view> findLine(const char* text, const unsigned* starts, int count, std::string_view key)
{
    int low = 0;
    int high = count;
    while (low < high) {
        const int mid = (low + high) / 2;
        const std::string_view line = lineAt(text, starts, mid);
        const std::string_view first = line.substr(0, line.find('\t'));
        if (first < key)
            low = mid + 1;
        else
            high = mid;
    }
    if (low < count) {
        const std::string_view line = lineAt(text, starts, low);
        if (line.substr(0, line.find('\t')) == key) return line.substr(key.size() + 1);
    }
    return std::nullopt;
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    if (text.empty()) return parts;
    size_t from = 0;
    for (size_t at = text.find(separator); at != std::string_view::npos; at = text.find(separator, from)) {
        parts.push_back(text.substr(from, at - from));
        from = at + 1;
    }
    parts.push_back(text.substr(from));
    return parts;
}

int number(std::string_view text)
{
    int value = 0;
    for (char c : text)
        if (c >= '0' && c <= '9') value = value * 10 + (c - '0');
    return value;
}

struct Entry {
    int node;
    int distance;
};

struct Sense {
    bool seen;  // the tagged corpus has it (or it is the first)
    int lexfile;
    std::vector<Entry> entries;
    bool own() const
    {
        return std::any_of(entries.begin(), entries.end(), [](const Entry& e) { return e.distance == 0; });
    }
};

// WordNet's lexicographer file of people. The model's few classes of people (a groom, a ball
// player, a diver) are no relatives of a writer called Crane or of a teacher.
constexpr int kPersonFile = 18;

// The class tree unpacked: per node its parents and the set of classes under it (bits by
// class index).
struct Tree {
    std::vector<std::vector<int>> parents;
    std::vector<std::vector<std::uint64_t>> under;
    std::vector<int> classCount;
    std::vector<int> lexfile;
    std::vector<QString> classNames;  // by class index; empty where no node names one
    int words = 0;                    // 64-bit words per class set

    Tree()
    {
        using namespace WordNetTable;
        const int count = kNodesCount;
        parents.resize(size_t(count));
        lexfile.resize(size_t(count));
        std::vector<std::vector<int>> own(static_cast<size_t>(count));
        int maxClass = 0;
        for (int i = 0; i < count; ++i) {
            const auto fields = split(lineAt(kNodes, kNodesStarts, i), '\t');
            if (fields.size() > 3) lexfile[size_t(i)] = number(fields[3]);
            for (std::string_view p : split(fields.size() > 1 ? fields[1] : std::string_view(), ' '))
                parents[size_t(i)].push_back(number(p));
            for (std::string_view c : split(fields.size() > 2 ? fields[2] : std::string_view(), ' ')) {
                const int index = number(c);
                own[size_t(i)].push_back(index);
                maxClass = std::max(maxClass, index);
                if (size_t(index) >= classNames.size()) classNames.resize(size_t(index) + 1);
                classNames[size_t(index)] = QString::fromUtf8(fields[0].data(), qsizetype(fields[0].size()));
            }
        }
        words = maxClass / 64 + 1;
        under.assign(size_t(count), std::vector<std::uint64_t>(size_t(words), 0));
        // Every class sets its bit in itself and in each of its ancestors.
        std::vector<int> stack;
        std::vector<int> visited(size_t(count), -1);
        for (int i = 0; i < count; ++i)
            for (int index : own[size_t(i)]) {
                stack.assign(1, i);
                while (!stack.empty()) {
                    const int n = stack.back();
                    stack.pop_back();
                    if (visited[size_t(n)] == index) continue;
                    visited[size_t(n)] = index;
                    under[size_t(n)][size_t(index / 64)] |= std::uint64_t(1) << (index % 64);
                    for (int p : parents[size_t(n)]) stack.push_back(p);
                }
            }
        classCount.resize(size_t(count));
        for (int i = 0; i < count; ++i) {
            int n = 0;
            for (std::uint64_t w : under[size_t(i)]) n += __builtin_popcountll(w);
            classCount[size_t(i)] = n;
        }
    }

    template <typename F> void forEachClass(int node, F&& f) const
    {
        for (int w = 0; w < words; ++w)
            for (std::uint64_t bits = under[size_t(node)][size_t(w)]; bits; bits &= bits - 1)
                f(w * 64 + __builtin_ctzll(bits));
    }
};

const Tree& tree()
{
    static const Tree table;
    return table;
}

std::string keyOf(const QString& word)
{
    QString key = word.toLower();
    key.replace(u' ', u'_').replace(u'-', u'_');
    return key.toStdString();
}

bool isLemma(const std::string& key)
{
    return findLine(WordNetTable::kLemmas, WordNetTable::kLemmasStarts, WordNetTable::kLemmasCount, key).has_value();
}

std::vector<Sense> sensesOf(const QString& word)
{
    std::vector<Sense> senses;
    const auto base = baseForm(word);
    if (!base) return senses;
    const auto line =
        findLine(WordNetTable::kLemmas, WordNetTable::kLemmasStarts, WordNetTable::kLemmasCount, keyOf(*base));
    if (!line) return senses;
    for (std::string_view text : split(*line, ';')) {
        Sense sense{!text.empty() && text.front() == '*', 0, {}};
        if (sense.seen) text.remove_prefix(1);
        const size_t colon = text.find(':');
        sense.lexfile = number(text.substr(0, colon));
        text.remove_prefix(colon + 1);
        for (std::string_view entry : split(text, ',')) {
            const size_t dot = entry.find('.');
            sense.entries.push_back({number(entry.substr(0, dot)), number(entry.substr(dot + 1))});
        }
        senses.push_back(std::move(sense));
    }
    return senses;
}

// The weight of classes `distance` steps above a sense; 0 when too far.
float stepWeight(int distance, bool ownClasses)
{
    if (distance == 0) return 1.0f;
    float weight = kRelativeWeight;
    for (int d = 1; d < distance; ++d) weight *= kStepFalloff;
    if (ownClasses) weight *= 0.5f;
    return weight >= kMinRelativeWeight ? weight : 0.0f;
}

}  // namespace

bool available() { return !tree().classNames.empty(); }

std::optional<QString> baseForm(const QString& word)
{
    const std::string key = keyOf(word);
    if (key.empty()) return std::nullopt;
    if (isLemma(key)) return QString::fromStdString(key);
    if (const auto base =
            findLine(WordNetTable::kExceptions, WordNetTable::kExceptionsStarts, WordNetTable::kExceptionsCount, key))
        return QString::fromUtf8(base->data(), qsizetype(base->size()));
    // WordNet's detachment rules for nouns, in its order.
    static const std::pair<std::string_view, std::string_view> rules[] = {
        {"s", ""},      {"ses", "s"},   {"xes", "x"},   {"zes", "z"},
        {"ches", "ch"}, {"shes", "sh"}, {"men", "man"}, {"ies", "y"},
    };
    for (const auto& [suffix, replacement] : rules) {
        if (key.size() <= suffix.size() || key.compare(key.size() - suffix.size(), suffix.size(), suffix) != 0)
            continue;
        const std::string candidate = key.substr(0, key.size() - suffix.size()) + std::string(replacement);
        if (isLemma(candidate)) return QString::fromStdString(candidate);
    }
    return std::nullopt;
}

QHash<QString, float> labels(const QString& word)
{
    const Tree& t = tree();
    const std::vector<Sense> senses = sensesOf(word);
    if (senses.empty() || t.classNames.empty()) return {};
    std::vector<float> weightOf(t.classNames.size(), 0.0f);
    std::vector<int> distanceOf(t.parents.size(), -1);
    std::vector<int> touched;
    // A noun that the model can see directly (a sense with classes of its own) is not also
    // guessed at through its other senses: "horse" is not the gymnastic horse's bars.
    const bool anyOwn = std::any_of(senses.begin(), senses.end(), [](const Sense& s) { return s.own(); });
    const bool seenOwn = std::any_of(senses.begin(), senses.end(), [](const Sense& s) { return s.seen && s.own(); });
    for (const Sense& sense : senses) {
        const bool own = sense.own();
        if (anyOwn ? !own : !sense.seen) continue;
        const float factor = sense.seen || !seenOwn ? 1.0f : kRareSense;
        // Relatives come from senses people use, within the sense's own kind of thing.
        const bool relatives = sense.seen && sense.lexfile != kPersonFile;
        // Breadth-first up the tree from the sense's entry points, nearest first.
        for (int n : touched) distanceOf[size_t(n)] = -1;
        touched.clear();
        std::vector<int> queue;
        for (const Entry& e : sense.entries)
            if (distanceOf[size_t(e.node)] < 0 || e.distance < distanceOf[size_t(e.node)]) {
                distanceOf[size_t(e.node)] = e.distance;
                touched.push_back(e.node);
                queue.push_back(e.node);
            }
        std::stable_sort(queue.begin(), queue.end(),
                         [&](int a, int b) { return distanceOf[size_t(a)] < distanceOf[size_t(b)]; });
        for (size_t head = 0; head < queue.size(); ++head) {
            const int node = queue[head];
            const int distance = distanceOf[size_t(node)];
            const float weight = stepWeight(distance, own);

            if (weight <= 0.0f) continue;
            // A hypernym over too many classes, or of another kind of thing, says nothing, and
            // neither do those above it.
            if (distance > 0
                && (!relatives || t.classCount[size_t(node)] > kMaxRelativeClasses
                    || t.lexfile[size_t(node)] != sense.lexfile))
                continue;
            t.forEachClass(node, [&](int c) { weightOf[size_t(c)] = std::max(weightOf[size_t(c)], weight * factor); });
            for (int parent : t.parents[size_t(node)])
                if (distanceOf[size_t(parent)] < 0) {
                    distanceOf[size_t(parent)] = distance + 1;
                    touched.push_back(parent);
                    queue.push_back(parent);
                }
        }
    }
    QHash<QString, float> out;
    for (size_t c = 0; c < weightOf.size(); ++c) {
        if (t.classNames[c].isEmpty()) continue;
        if (weightOf[c] > 0.0f) out.insert(t.classNames[c], std::max(out.value(t.classNames[c]), weightOf[c]));
    }
    // Concepts gathered from the hierarchy, when the noun covers all of their classes.
    for (const ConceptLabels::Concept& entry : ConceptLabels::all()) {
        if (entry.hierarchy.isEmpty()) continue;
        float weakest = 1.0f;
        for (const QString& member : entry.hierarchy) weakest = std::min(weakest, out.value(member));
        if (weakest > 0.0f) out.insert(entry.name, std::max(out.value(entry.name), weakest));
    }
    return out;
}

QStringList classesUnder(const QString& word)
{
    const Tree& t = tree();
    std::vector<Sense> senses = sensesOf(word);
    std::stable_partition(senses.begin(), senses.end(), [](const Sense& s) { return s.seen; });
    for (const Sense& sense : senses)
        for (const Entry& e : sense.entries) {
            if (e.distance != 0) continue;
            QStringList classes;
            t.forEachClass(e.node, [&](int c) {
                if (!t.classNames[size_t(c)].isEmpty() && !classes.contains(t.classNames[size_t(c)]))
                    classes.append(t.classNames[size_t(c)]);
            });
            return classes;
        }
    return {};
}

}  // namespace fennic::WordNet
