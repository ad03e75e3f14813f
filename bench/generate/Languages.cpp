#include "Languages.h"

#include <array>

namespace {

using Words = std::string_view;

constexpr std::array<Words, 176> kEnglishWords{
    "about",     "across",    "after",    "again",   "album",     "almost",   "always",    "ancient",    "answer",
    "archive",   "artist",    "audience", "author",  "balance",   "because",  "before",    "behind",     "belief",
    "between",   "biology",   "border",   "bridge",  "brother",   "budget",   "building",  "business",   "camera",
    "candidate", "carbon",    "career",   "century", "challenge", "chapter",  "character", "city",       "climate",
    "coffee",    "community", "company",  "complex", "concert",   "context",  "country",   "courage",    "court",
    "crisis",    "culture",   "daily",    "danger",  "daughter",  "decade",   "decision",  "design",     "detail",
    "discovery", "doctor",    "early",    "economy", "editor",    "election", "empire",    "energy",     "engine",
    "evening",   "evidence",  "example",  "expert",  "factory",   "family",   "famous",    "farmer",     "feature",
    "festival",  "fiction",   "field",    "finally", "finance",   "forest",   "forgotten", "founder",    "freedom",
    "friend",    "future",    "garden",   "general", "ghost",     "global",   "golden",    "government", "guest",
    "habit",     "health",    "hidden",   "history", "honest",    "hospital", "hour",      "house",      "human",
    "idea",      "island",    "journal",  "journey", "judge",     "kitchen",  "knowledge", "language",   "laughter",
    "leader",    "legend",    "letter",   "library", "listener",  "little",   "machine",   "market",     "material",
    "matter",    "medicine",  "memory",   "minute",  "mission",   "modern",   "moment",    "morning",    "mountain",
    "museum",    "mystery",   "nation",   "nature",  "never",     "night",    "novel",     "ocean",      "opinion",
    "orchestra", "paper",     "pattern",  "people",  "physics",   "planet",   "poetry",    "policy",     "portrait",
    "practice",  "present",   "problem",  "promise", "question",  "radio",    "reason",    "recipe",     "record",
    "river",     "school",    "science",  "season",  "secret",    "signal",   "silence",   "simple",     "soldier",
    "species",   "story",     "stranger", "street",  "student",   "summer",   "teacher",   "theatre",    "through",
    "travel",    "village",   "winter",   "without", "world"};
constexpr std::array<Words, 12> kEnglishNames{"Alice Moreland", "Ben Okafor",   "Carla Whitfield", "Dev Sharma",
                                              "Erin Gallagher", "Frank Tobias", "Grace Lindqvist", "Hugo Pemberton",
                                              "Ines Calloway",  "Jonah Reed",   "Kate O'Malley",   "Liam Brandt"};

constexpr std::array<Words, 48> kFrenchWords{
    "après",    "été",     "à",        "voilà",    "être",    "forêt",   "théâtre",  "café",
    "mémoire",  "société", "histoire", "année",    "siècle",  "où",      "derrière", "peut-être",
    "musée",    "élève",   "poème",    "cœur",     "œuvre",   "naïf",    "garçon",   "français",
    "leçon",    "rivière", "première", "dernière", "légende", "énergie", "économie", "médecine",
    "géologie", "récit",   "voix",     "ville",    "monde",   "lettre",  "semaine",  "avec",
    "pour",     "chaque",  "livre",    "cinéma",   "étoile",  "nuit",    "chanson",  "frontière"};
constexpr std::array<Words, 5> kFrenchNames{"Élodie Béranger", "François Lefèvre", "Maëlle Hérault", "Noël Châtelain",
                                            "Zoé Garçon"};

constexpr std::array<Words, 48> kGermanWords{
    "über",     "für",    "Gespräch", "Geschichte",     "Straße",   "schön",      "größer",    "Jahrhundert",
    "Menschen", "Bücher", "Wälder",   "Musik",          "zwischen", "während",    "natürlich", "Fluß",
    "Brücke",   "Küche",  "Ärztin",   "Öffentlichkeit", "Übung",    "Gedächtnis", "Zukunft",   "Wissenschaft",
    "Märchen",  "Träume", "Häuser",   "plötzlich",      "Woche",    "Abend",      "Erzählung", "Gäste",
    "Hörer",    "Stück",  "Theater",  "Sprache",        "heute",    "gestern",    "möglich",   "Fähigkeit",
    "Gefühl",   "Körper", "Welt",     "Räume",          "Lösung",   "Rätsel",     "früher",    "später"};
constexpr std::array<Words, 5> kGermanNames{"Jörg Müller", "Käthe Groß", "Björn Schäfer", "Änne Vößing",
                                            "Lukas Köhler"};

constexpr std::array<Words, 50> kRussianWords{
    "история", "город",  "человек",  "вечер",    "разговор", "книга",    "наука",   "время",   "память",
    "музыка",  "театр",  "дорога",   "письмо",   "река",     "зима",     "лето",    "загадка", "открытие",
    "учёный",  "голос",  "неделя",   "столетие", "народ",    "культура", "природа", "граница", "остров",
    "планета", "вопрос", "ответ",    "почему",   "сегодня",  "вместе",   "через",   "между",   "слушатель",
    "гость",   "выпуск", "писатель", "художник", "врач",     "школа",    "улица",   "деревня", "энергия",
    "климат",  "рынок",  "будущее",  "тишина",   "звезда"};
constexpr std::array<Words, 5> kRussianNames{"Анна Воронцова", "Борис Ельников", "Галина Щербакова", "Дмитрий Юрьев",
                                             "Фёдор Цветков"};

constexpr std::array<Words, 50> kJapaneseWords{
    "歴史",     "音楽",   "今日の", "科学",   "物語",     "世界",       "について", "東京",     "夜",       "朝",
    "番組",     "聞く",   "話す",   "人々",   "文化",     "旅",         "記憶",     "未来",     "山",       "川",
    "海の",     "図書館", "先生と", "学校で", "言葉",     "質問に",     "答える",   "毎週",     "ゲストが", "季節の",
    "冬",       "夏の",   "カメラ", "ラジオ", "コーヒー", "エネルギー", "デザイン", "ニュース", "研究者",   "発見した",
    "不思議な", "静かな", "友達",   "家族の", "仕事",     "健康",       "経済",     "市場",     "小説",     "映画"};
constexpr std::array<Words, 5> kJapaneseNames{"佐藤 美咲", "鈴木 一郎", "高橋 さくら", "田中 健太", "渡辺 ゆり"};

}  // namespace

const Language& English() noexcept {
    static constexpr Language kLanguage{"en-us", kEnglishWords, kEnglishNames, "Episode", " ", ". "};
    return kLanguage;
}

const Language& French() noexcept {
    static constexpr Language kLanguage{"fr", kFrenchWords, kFrenchNames, "Épisode", " ", ". "};
    return kLanguage;
}

const Language& German() noexcept {
    static constexpr Language kLanguage{"de-DE", kGermanWords, kGermanNames, "Folge", " ", ". "};
    return kLanguage;
}

const Language& Russian() noexcept {
    static constexpr Language kLanguage{"ru", kRussianWords, kRussianNames, "Выпуск", " ", ". "};
    return kLanguage;
}

const Language& Japanese() noexcept {
    static constexpr Language kLanguage{"ja", kJapaneseWords, kJapaneseNames, "エピソード", "", "。"};
    return kLanguage;
}
