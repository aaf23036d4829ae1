#include "images/ConceptLabels.h"

#include <algorithm>

namespace fennic::ConceptLabels {
namespace {

// Members are the model's label identifiers; spans are inclusive ranges of its outputs
// (line numbers of labels.txt, 0 = background) for families too long to spell out.
QList<Concept> buildTable()
{
    auto c = [](const char* name, std::initializer_list<const char*> members,
                std::vector<std::pair<int, int>> spans = {}) {
        Concept entry{QString::fromLatin1(name), {}, std::move(spans)};
        for (const char* m : members) entry.members.append(QString::fromLatin1(m));
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
        c("animal", {}, {{1, 397}}),
        c("dog", {}, {{152, 269}}),
        c("cat", {"tabby", "tiger_cat", "persian_cat", "siamese_cat", "egyptian_cat"}),
        c("big_cat", {"cougar", "lynx", "leopard", "snow_leopard", "jaguar", "lion", "tiger", "cheetah"}),
        c("bird", {}, {{8, 25}, {81, 101}, {128, 147}}),
        c("fish", {}, {{1, 7}, {390, 398}}),
        c("insect", {}, {{301, 327}}),
        c("butterfly", {"admiral", "ringlet", "monarch", "cabbage_butterfly", "sulphur_butterfly", "lycaenid"}),
        c("spider", {}, {{73, 78}}),
        c("reptile", {}, {{34, 69}}),
        c("snake", {}, {{53, 69}}),
        c("monkey", {}, {{366, 385}}),
        c("bear", {"brown_bear", "american_black_bear", "ice_bear", "sloth_bear", "giant_panda"}),
        c("horse", {"sorrel", "horse_cart"}),
        c("cattle", {"ox", "water_buffalo", "bison"}),
        c("sheep", {"ram", "bighorn"}),
        c("pig", {"hog", "wild_boar", "warthog"}),
        c("rabbit", {"wood_rabbit", "hare", "angora"}),
        c("elephant", {"tusker", "indian_elephant", "african_elephant"}),
        // Food and drink.
        c("food", {}, {{924, 958}, {960, 966}}),
        c("fruit", {}, {{949, 958}}),
        c("vegetable", {"corn"}, {{937, 948}}),
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
        c("bottle", {"beer_bottle", "wine_bottle", "pop_bottle", "water_bottle", "pill_bottle", "whiskey_jug"}),
        // Vehicles.
        c("car",
          {"beach_wagon", "cab", "convertible", "jeep", "limousine", "minivan", "model_t", "racer", "sports_car",
           "pickup", "car_wheel", "grille", "car_mirror"}),
        c("truck",
          {"fire_engine", "garbage_truck", "moving_van", "pickup", "tow_truck", "trailer_truck", "police_van"}),
        c("bus", {"school_bus", "minibus", "trolleybus"}),
        c("train",
          {"bullet_train", "electric_locomotive", "steam_locomotive", "passenger_car", "freight_car", "streetcar"}),
        c("bicycle", {"mountain_bike", "bicycle_built_for_two", "tricycle", "unicycle"}),
        c("motorcycle", {"moped", "motor_scooter"}),
        c("boat",
          {"canoe", "catamaran", "container_ship", "fireboat", "gondola", "lifeboat", "liner", "schooner", "speedboat",
           "trimaran", "yawl", "paddlewheel", "wreck", "aircraft_carrier"}),
        c("airplane", {"airliner", "warplane", "wing", "airship"}),
        c("vehicle",
          {"beach_wagon",
           "cab",
           "convertible",
           "jeep",
           "limousine",
           "minivan",
           "model_t",
           "racer",
           "sports_car",
           "pickup",
           "fire_engine",
           "garbage_truck",
           "moving_van",
           "tow_truck",
           "trailer_truck",
           "police_van",
           "school_bus",
           "minibus",
           "trolleybus",
           "ambulance",
           "recreational_vehicle",
           "go_kart",
           "golfcart",
           "forklift",
           "tractor",
           "moped",
           "motor_scooter",
           "mountain_bike",
           "bicycle_built_for_two",
           "streetcar",
           "jinrikisha",
           "horse_cart",
           "oxcart"}),
        // Places and buildings.
        c("building", {"church",     "mosque",        "palace",        "monastery",   "castle",      "library",
                       "cinema",     "barn",          "boathouse",     "greenhouse",  "planetarium", "prison",
                       "restaurant", "grocery_store", "bakery",        "bookshop",    "barbershop",  "butcher_shop",
                       "shoe_shop",  "tobacco_shop",  "toyshop",       "dome",        "bell_cote",   "tile_roof",
                       "thatch",     "stupa",         "yurt",          "mobile_home", "water_tower", "triumphal_arch",
                       "apiary",     "lumbermill",    "cliff_dwelling"}),
        c("house", {"mobile_home", "thatch", "tile_roof", "yurt", "barn", "boathouse", "patio", "picket_fence"}),
        c("church", {"church", "monastery", "bell_cote", "altar"}),
        c("shop",
          {"bakery", "bookshop", "barbershop", "butcher_shop", "grocery_store", "shoe_shop", "tobacco_shop", "toyshop",
           "confectionery"}),
        c("bridge", {"steel_arch_bridge", "suspension_bridge", "viaduct"}),
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
        c("computer",
          {"desktop_computer", "laptop", "notebook", "monitor", "screen", "computer_keyboard", "mouse",
           "hand_held_computer", "web_site"}),
        c("phone", {"cellular_telephone", "dial_telephone", "pay_phone", "hand_held_computer"}),
        c("keyboard", {"computer_keyboard", "typewriter_keyboard", "space_bar"}),
        c("tv", {"television", "entertainment_center", "home_theater", "remote_control", "screen", "monitor"}),
        c("book", {"book_jacket", "bookcase", "bookshop", "library", "comic_book", "binder"}),
        c("flower", {"daisy", "yellow_lady's_slipper", "rapeseed", "pot"}),
        c("plant", {"pot", "greenhouse", "daisy", "rapeseed", "yellow_lady's_slipper", "corn"}),
        c("mushroom",
          {"mushroom", "agaric", "gyromitra", "stinkhorn", "earthstar", "hen_of_the_woods", "bolete", "coral_fungus"}),
        c("instrument", {"accordion",  "acoustic_guitar",
                         "banjo",      "bassoon",
                         "cello",      "cornet",
                         "drum",       "electric_guitar",
                         "flute",      "french_horn",
                         "gong",       "grand_piano",
                         "harmonica",  "harp",
                         "marimba",    "oboe",
                         "ocarina",    "organ",
                         "panpipe",    "sax",
                         "steel_drum", "trombone",
                         "upright",    "violin",
                         "maraca",     "chime"}),
        c("guitar", {"acoustic_guitar", "electric_guitar", "banjo"}),
        c("piano", {"grand_piano", "upright"}),
        c("music",
          {"ipod", "cassette", "cassette_player", "cd_player", "loudspeaker", "tape_player", "radio", "microphone",
           "acoustic_guitar", "electric_guitar", "grand_piano", "drum", "violin"}),
        c("concert", {"stage", "spotlight", "microphone", "electric_guitar", "theater_curtain"}),
        c("ball",
          {"soccer_ball", "basketball", "baseball", "volleyball", "tennis_ball", "golf_ball", "rugby_ball",
           "croquet_ball", "ping_pong_ball"}),
        c("sport",
          {"soccer_ball", "basketball", "baseball", "volleyball", "tennis_ball", "golf_ball", "rugby_ball",
           "football_helmet", "ballplayer", "puck", "racket", "scoreboard", "balance_beam", "parallel_bars",
           "horizontal_bar", "ski"}),
        c("football", {"soccer_ball", "rugby_ball", "football_helmet", "ballplayer"}),
        c("gym", {"barbell", "dumbbell", "punching_bag", "balance_beam", "parallel_bars", "horizontal_bar"}),
        c("swimming", {"swimming_trunks", "maillot", "bathing_cap", "snorkel", "scuba_diver", "bikini"}),
        c("furniture",
          {"chiffonier", "china_cabinet", "desk", "dining_table", "folding_chair", "four_poster", "rocking_chair",
           "studio_couch", "wardrobe", "bookcase", "barber_chair", "park_bench", "throne", "crib", "cradle",
           "entertainment_center"}),
        c("chair", {"folding_chair", "rocking_chair", "barber_chair", "throne", "park_bench"}),
        c("bed", {"four_poster", "studio_couch", "quilt", "pillow", "crib"}),
        c("table", {"dining_table", "desk", "pool_table"}),
        c("clock",
          {"analog_clock", "digital_clock", "wall_clock", "stopwatch", "hourglass", "sundial", "digital_watch"}),
        c("watch", {"digital_watch", "stopwatch", "analog_clock"}),
        c("camera", {"reflex_camera", "polaroid_camera", "lens_cap", "tripod"}),
        c("bag", {"backpack", "purse", "mailbag", "plastic_bag", "shopping_basket"}),
        c("shoe", {"running_shoe", "loafer", "sandal", "clog", "cowboy_boot"}),
        c("glasses", {"sunglasses", "sunglass", "loupe"}),
        c("hat",
          {"cowboy_hat", "sombrero", "bonnet", "mortarboard", "bathing_cap", "shower_cap", "crash_helmet",
           "football_helmet", "pickelhaube"}),
        c("money", {"wallet", "cash_machine", "piggy_bank", "purse"}),
        c("tool",
          {"hammer", "screwdriver", "power_drill", "hatchet", "chain_saw", "shovel", "plunger", "carpenter's_kit",
           "plane", "pick", "screw", "nail"}),
        c("toy", {"teddy", "toyshop", "jigsaw_puzzle", "pinwheel"}),
        c("weapon", {"assault_rifle", "rifle", "revolver", "cannon", "missile", "projectile", "tank"}),
        // People and occasions.
        c("people",
          {"groom",    "ballplayer", "scuba_diver", "suit",          "jersey",   "sweatshirt",  "military_uniform",
           "lab_coat", "kimono",     "abaya",       "academic_gown", "bikini",   "miniskirt",   "trench_coat",
           "fur_coat", "pajama",     "gown",        "poncho",        "cloak",    "sarong",      "swimming_trunks",
           "maillot",  "wig",        "lipstick",    "sunglasses",    "sunglass", "bow_tie",     "windsor_tie",
           "bolo_tie", "jean",       "apron",       "stole",         "vestment", "mortarboard", "cowboy_hat",
           "sombrero", "bonnet",     "hoopskirt",   "overskirt"}),
        c("clothing",
          {"suit",          "jersey", "sweatshirt", "military_uniform", "lab_coat",    "kimono",    "abaya",
           "academic_gown", "bikini", "miniskirt",  "trench_coat",      "fur_coat",    "pajama",    "gown",
           "poncho",        "cloak",  "sarong",     "swimming_trunks",  "maillot",     "jean",      "apron",
           "stole",         "sock",   "mitten",     "bow_tie",          "windsor_tie", "hoopskirt", "overskirt",
           "brassiere"}),
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
