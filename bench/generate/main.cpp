// generate-feeds [DIR] [--opml FILE] --feeds N [--episodes M] [--new K --every E] [--base URL]
//                [--notes-min BYTES] [--notes-max BYTES]
//
// Writes N podcast feeds of M episodes to DIR (feed-0001.xml and so on), a subscription list of them to FILE, or both.
// The same arguments give the same bytes on every machine. --new adds K newer episodes at the top of every E-th feed
// and leaves all other bytes unchanged.

#include "FeedDocument.h"
#include "OpmlDocument.h"
#include "Show.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Options {
    std::filesystem::path Folder;
    std::filesystem::path List;
    FeedShape Shape{.Base = "http://127.0.0.1:8000", .Episodes = 200, .Newer = 0, .NotesLeast = 600, .NotesMost = 2500};
    std::int64_t Feeds = 0;
    std::int64_t Every = 1;
};

template <class Number>
bool Read(std::string_view text, Number& number) {
    const auto end = text.data() + text.size();
    return std::from_chars(text.data(), end, number).ptr == end && number >= 0;
}

bool ReadOption(std::string_view name, std::string_view value, Options& options) {
    FeedShape& shape = options.Shape;
    if (name == "--feeds") return Read(value, options.Feeds);
    if (name == "--episodes") return Read(value, shape.Episodes) && shape.Episodes > 0;
    if (name == "--new") return Read(value, shape.Newer);
    if (name == "--every") return Read(value, options.Every) && options.Every > 0;
    if (name == "--notes-min") return Read(value, shape.NotesLeast);
    if (name == "--notes-max") return Read(value, shape.NotesMost);
    if (name == "--opml") return !(options.List = value).empty();
    if (name == "--base") return !(shape.Base = value).empty();
    return false;
}

std::optional<Options> Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (!word.starts_with("--") && options.Folder.empty()) {
            options.Folder = word;
        } else if (i + 1 == argc || !ReadOption(word, argv[++i], options)) {
            return {};
        }
    }
    const bool writesSomething = !options.Folder.empty() || !options.List.empty();
    if (!writesSomething || options.Feeds == 0 || options.Shape.NotesMost < options.Shape.NotesLeast) return {};
    while (options.Shape.Base.ends_with('/')) options.Shape.Base.pop_back();
    return options;
}

void Write(const std::filesystem::path& file, std::string_view text) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + file.string());
}

void Generate(const Options& options) {
    std::vector<Show> shows;
    for (std::int64_t number = 1; number <= options.Feeds; ++number)
        shows.push_back(ShowNumber(static_cast<std::uint64_t>(number)));
    if (!options.List.empty()) Write(options.List, OpmlDocument(shows, options.Shape.Base));
    if (options.Folder.empty()) return;

    std::filesystem::create_directories(options.Folder);
    for (const Show& show : shows) {
        FeedShape shape = options.Shape;
        if (show.Number % static_cast<std::uint64_t>(options.Every) != 0) shape.Newer = 0;
        Write(options.Folder / (show.Name + ".xml"), FeedDocument(show, shape));
    }
}

}  // namespace

int main(int argc, char** argv) try {
    const auto options = Parse(argc, argv);
    if (!options) {
        std::cerr << "usage: generate-feeds [DIR] [--opml FILE] --feeds N [--episodes M] [--new K --every E] "
                     "[--base URL] [--notes-min BYTES] [--notes-max BYTES]\n";
        return 2;
    }
    Generate(*options);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "generate-feeds: " << error.what() << '\n';
    return 1;
}
