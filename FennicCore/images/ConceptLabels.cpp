#include "images/ConceptLabels.h"

#include "images/WordNet.h"

#include <algorithm>

namespace fennic::ConceptLabels {
namespace {

// Rows made with h() take their members from WordNet's hierarchy (the classes under a noun)
// and add by hand only what it files elsewhere; rows made with c() are scenes and settings the
// hierarchy does not place, written out by hand. Spans are inclusive ranges of outputs (line
// numbers of labels.txt, 0 = background).
QList<Concept> buildTable()
{
    auto c = [](const char* name, std::initializer_list<const char*> members,
                std::vector<std::pair<int, int>> spans = {}) {
        Concept entry{QString::fromLatin1(name), {}, std::move(spans), {}};
        for (const char* m : members) entry.members.append(QString::fromLatin1(m));
        return entry;
    };
    // A concept gathered from the classes WordNet places under `nouns`, plus `extras`.
    auto h = [](const char* name, std::initializer_list<const char*> nouns, std::initializer_list<const char*> extras) {
        Concept entry{QString::fromLatin1(name), {}, {}, {}};
        for (const char* noun : nouns)
            for (const QString& member : WordNet::classesUnder(QString::fromLatin1(noun)))
                if (!entry.hierarchy.contains(member)) entry.hierarchy.append(member);
        entry.members = entry.hierarchy;
        for (const char* m : extras)
            if (!entry.members.contains(QLatin1String(m))) entry.members.append(QString::fromLatin1(m));
        return entry;
    };
    return {
        // Land, sea and weather.
        c("beach", {"seashore", "sandbar"}),
        c("shore", {"seashore", "promontory", "cliff"}),
        c("ocean", {"seashore", "sandbar", "promontory", "breakwater"}),
        c("island", {"promontory", "sandbar"}),
        c("sand", {"sandbar", "seashore"}),
        c("lake", {"lakeside"}),
        c("water_body", {"seashore", "sandbar", "promontory", "breakwater", "lakeside", "dam", "coral_reef"}),
        c("water",
          {"seashore", "sandbar", "breakwater", "lakeside", "dam", "fountain", "coral_reef", "geyser", "scuba_diver",
           "snorkel"}),
        c("mountain", {"alp", "valley", "volcano", "cliff"}),
        c("snow", {"alp", "ski", "snowmobile", "dogsled", "snowplow", "bobsled"}),
        c("landscape",
          {"alp", "valley", "volcano", "cliff", "lakeside", "seashore", "promontory", "sandbar", "geyser"}),
        c("underwater", {"coral_reef", "scuba_diver", "snorkel", "sea_anemone", "brain_coral"}),
        // Animals.
        h("animal", {"animal"}, {}),
        h("dog", {"dog"}, {}),
        h("cat", {"cat"}, {}),
        h("big_cat", {"big_cat"}, {}),
        h("bird", {"bird"}, {}),
        h("fish", {"fish"}, {}),
        h("insect", {"insect"}, {}),
        h("butterfly", {"butterfly"}, {}),
        h("spider", {"spider"}, {}),
        h("reptile", {"reptile"}, {}),
        h("snake", {"snake"}, {}),
        h("monkey", {"primate"}, {}),
        h("bear", {"bear"}, {}),
        h("horse", {"horse"}, {"horse_cart"}),
        h("cattle", {"bovine"}, {}),
        h("sheep", {"sheep"}, {}),
        h("pig", {"swine"}, {}),
        h("rabbit", {"leporid"}, {}),
        h("elephant", {"elephant"}, {"tusker"}),
        // Food and drink.
        h("food", {"food", "produce"}, {}),
        h("fruit", {"edible_fruit"}, {}),
        h("vegetable", {"vegetable"}, {"corn"}),
        c("dessert", {"trifle", "ice_cream", "ice_lolly", "chocolate_sauce", "confectionery"}),
        c("cake", {"trifle", "confectionery", "chocolate_sauce"}),
        c("bread", {"french_loaf", "bagel", "pretzel", "dough", "bakery"}),
        c("meal",
          {"plate", "hot_pot", "consomme", "carbonara", "potpie", "meat_loaf", "mashed_potato", "burrito", "pizza",
           "cheeseburger", "hotdog", "guacamole"}),
        c("drink",
          {"espresso", "coffee_mug", "cup", "eggnog", "red_wine", "beer_glass", "beer_bottle", "wine_bottle",
           "pop_bottle", "water_bottle", "whiskey_jug", "cocktail_shaker", "goblet"}),
        c("coffee", {"espresso", "coffee_mug", "coffeepot", "espresso_maker"}),
        c("cup", {"cup", "coffee_mug", "espresso"}),
        c("tea", {"teapot", "cup"}),
        c("beer", {"beer_glass", "beer_bottle"}),
        c("wine", {"red_wine", "wine_bottle", "goblet"}),
        h("bottle", {"bottle"}, {}),
        // Vehicles.
        h("car", {"car"}, {"pickup", "car_wheel", "grille", "car_mirror"}),
        h("truck", {"truck"}, {}),
        h("bus", {"bus"}, {}),
        c("train",
          {"bullet_train", "electric_locomotive", "steam_locomotive", "passenger_car", "freight_car", "streetcar"}),
        h("bicycle", {"bicycle"}, {"tricycle", "unicycle"}),
        h("motorcycle", {"motorcycle"}, {"moped", "motor_scooter"}),
        c("boat",
          {"canoe", "catamaran", "container_ship", "fireboat", "gondola", "lifeboat", "liner", "schooner", "speedboat",
           "trimaran", "yawl", "paddlewheel", "wreck", "aircraft_carrier"}),
        h("airplane", {"airplane"}, {"airship", "wing"}),
        h("vehicle", {"vehicle"}, {}),
        // Places and buildings.
        h("building", {"building"},
          {"dome", "bell_cote", "tile_roof", "thatch", "stupa", "yurt", "mobile_home", "water_tower", "triumphal_arch",
           "cliff_dwelling"}),
        c("house", {"mobile_home", "thatch", "tile_roof", "yurt", "barn", "boathouse", "patio", "picket_fence"}),
        h("church", {"church"}, {"bell_cote", "altar"}),
        h("shop", {"shop"}, {}),
        h("bridge", {"bridge"}, {}),
        c("street",
          {"street_sign", "traffic_light", "streetcar", "cab", "trolleybus", "parking_meter", "manhole_cover"}),
        c("monument", {"obelisk", "triumphal_arch", "megalith", "totem_pole", "stupa", "pedestal"}),
        c("kitchen",
          {"dishwasher", "refrigerator", "microwave", "stove", "toaster", "dutch_oven", "frying_pan", "wok", "caldron",
           "crock_pot", "espresso_maker", "waffle_iron", "coffeepot", "teapot", "mixing_bowl", "ladle", "spatula",
           "wooden_spoon", "plate_rack"}),
        c("bathroom",
          {"bathtub", "toilet_seat", "washbasin", "shower_curtain", "soap_dispenser", "toilet_tissue", "tub"}),
        c("farm",
          {"barn", "tractor", "thresher", "harvester", "hay", "plow", "ox", "hog", "ram", "hen", "cock", "oxcart"}),
        c("garden", {"pot", "lawn_mower", "greenhouse", "picket_fence", "birdhouse", "daisy"}),
        c("playground", {"swing", "carousel", "park_bench"}),
        c("camping", {"mountain_tent", "sleeping_bag"}),
        // Things.
        h("computer", {"computer"}, {"monitor", "screen", "computer_keyboard", "mouse", "web_site"}),
        h("phone", {"telephone"}, {"hand_held_computer"}),
        c("keyboard", {"computer_keyboard", "typewriter_keyboard", "space_bar"}),
        c("tv", {"television", "entertainment_center", "home_theater", "remote_control", "screen", "monitor"}),
        c("book", {"book_jacket", "bookcase", "bookshop", "library", "comic_book", "binder"}),
        h("flower", {"flower"}, {"pot"}),
        c("plant", {"pot", "greenhouse", "daisy", "rapeseed", "yellow_lady's_slipper", "corn"}),
        h("mushroom", {"fungus"}, {}),
        h("instrument", {"musical_instrument"}, {}),
        h("guitar", {"guitar"}, {}),
        h("piano", {"piano"}, {}),
        c("music",
          {"ipod", "cassette", "cassette_player", "cd_player", "loudspeaker", "tape_player", "radio", "microphone",
           "acoustic_guitar", "electric_guitar", "grand_piano", "drum", "violin"}),
        c("concert", {"stage", "spotlight", "microphone", "electric_guitar", "theater_curtain"}),
        h("ball", {"ball"}, {}),
        c("sport",
          {"soccer_ball", "basketball", "baseball", "volleyball", "tennis_ball", "golf_ball", "rugby_ball",
           "football_helmet", "ballplayer", "puck", "racket", "scoreboard", "balance_beam", "parallel_bars",
           "horizontal_bar", "ski"}),
        c("football", {"soccer_ball", "rugby_ball", "football_helmet", "ballplayer"}),
        c("gym", {"barbell", "dumbbell", "punching_bag", "balance_beam", "parallel_bars", "horizontal_bar"}),
        c("swimming", {"swimming_trunks", "maillot", "bathing_cap", "snorkel", "scuba_diver", "bikini"}),
        h("furniture", {"furniture"}, {}),
        h("chair", {"chair"}, {"park_bench"}),
        h("bed", {"bed"}, {"quilt", "pillow"}),
        h("table", {"table"}, {}),
        h("clock", {"timepiece"}, {}),
        h("watch", {"watch"}, {"stopwatch"}),
        h("camera", {"camera"}, {"lens_cap", "tripod"}),
        h("bag", {"bag"}, {"shopping_basket"}),
        h("shoe", {"footwear"}, {}),
        c("glasses", {"sunglasses", "sunglass", "loupe"}),
        h("hat", {"headdress"}, {}),
        c("money", {"wallet", "cash_machine", "piggy_bank", "purse"}),
        h("tool", {"tool"}, {}),
        h("toy", {"toy"}, {"toyshop"}),
        h("weapon", {"weapon"}, {"tank"}),
        // People and occasions.
        c("people",
          {"groom",    "ballplayer", "scuba_diver", "suit",          "jersey",   "sweatshirt",  "military_uniform",
           "lab_coat", "kimono",     "abaya",       "academic_gown", "bikini",   "miniskirt",   "trench_coat",
           "fur_coat", "pajama",     "gown",        "poncho",        "cloak",    "sarong",      "swimming_trunks",
           "maillot",  "wig",        "lipstick",    "sunglasses",    "sunglass", "bow_tie",     "windsor_tie",
           "bolo_tie", "jean",       "apron",       "stole",         "vestment", "mortarboard", "cowboy_hat",
           "sombrero", "bonnet",     "hoopskirt",   "overskirt"}),
        h("clothing", {"clothing"}, {}),
        c("baby", {"bib", "diaper", "bassinet", "cradle", "crib"}),
        c("wedding", {"groom", "gown", "hoopskirt"}),
        c("party", {"balloon", "candle", "pinwheel", "maypole"}),
        c("christmas", {"christmas_stocking"}),
        c("halloween", {"jack_o'_lantern", "mask"}),
        c("fire", {"candle", "torch", "matchstick", "lighter", "fire_screen", "volcano"}),
    };
}

}  // namespace

const QList<Concept>& all()
{
    static const QList<Concept> table = buildTable();
    return table;
}

QStringList names()
{
    QStringList out;
    for (const Concept& entry : all()) out.append(entry.name);
    out.append(textLabels());
    return out;
}

const QStringList& textLabels()
{
    static const QStringList labels{QStringLiteral("document"), QStringLiteral("text")};
    return labels;
}

void aggregate(const std::vector<float>& probabilities, const QStringList& identifiers, float minimum,
               QHash<QString, float>& labels)
{
    QHash<QString, QList<int>> lookup;
    lookup.reserve(identifiers.size());
    for (int i = 0; i < identifiers.size(); ++i) lookup[identifiers[i]].append(i);
    const int count = int(std::min<size_t>(probabilities.size(), size_t(identifiers.size())));
    for (const Concept& entry : all()) {
        // Each output counts once even when a entry names it twice (by name and by span).
        std::vector<bool> used(size_t(count), false);
        double sum = 0.0;
        for (const QString& member : entry.members)
            for (int i : lookup.value(member))
                if (i < count && !used[size_t(i)]) used[size_t(i)] = true, sum += probabilities[size_t(i)];
        for (const auto& [first, last] : entry.spans)
            for (int i = std::max(first, 0); i <= last && i < count; ++i)
                if (!used[size_t(i)]) used[size_t(i)] = true, sum += probabilities[size_t(i)];
        const float confidence = float(std::min(sum, 1.0));
        if (confidence >= minimum)
            labels.insert(entry.name, confidence);
        else
            labels.remove(entry.name);
    }
}

QHash<QString, float> fromTextCoverage(float coveredShare, int lineCount)
{
    // A few words on a photo (a sign, a caption) do not make a document; a page of lines does.
    constexpr float kMinimumShare = 0.04f;
    constexpr int kMinimumLines = 3;
    if (coveredShare < kMinimumShare || lineCount < kMinimumLines) return {};
    return {{textLabels()[0], std::min(1.0f, coveredShare * 3.0f)},
            {textLabels()[1], std::min(1.0f, coveredShare * 4.0f)}};
}

}  // namespace fennic::ConceptLabels
