#include "Prose.h"

#include <algorithm>

namespace {

void CapitaliseAscii(std::string& text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
}

std::string TwoDigits(std::int64_t n) {
    std::string text = std::to_string(n);
    if (text.size() < 2) text.insert(0, 1, '0');
    return text;
}

std::string TimesList(Random& random, const Language& language) {
    std::string html = "<ul>\n";
    std::int64_t minute = 0;
    for (std::int64_t left = random.Between(3, 6); left > 0; --left) {
        html += "<li>" + TwoDigits(minute) + ':' + TwoDigits(random.Between(0, 59)) + " &ndash; " +
                Words(random, language, 4) + "</li>\n";
        minute += random.Between(3, 15);
    }
    return html + "</ul>\n";
}

std::string Link(Random& random, const Language& language) {
    return "<a href=\"https://links.example/" + std::to_string(random.Between(1, 99'999)) +
           "?utm_source=podcast&amp;utm_medium=notes\">" + Words(random, language, 2) + "</a>";
}

std::string Paragraph(Random& random, const Language& language) {
    std::string html = "<p>";
    for (std::int64_t left = random.Between(1, 3); left > 0; --left) html += Sentence(random, language);
    if (random.OneIn(3)) html += "<strong>" + Words(random, language, 3) + "</strong>&nbsp;&mdash; ";
    if (random.OneIn(3)) html += Link(random, language) + " &amp; " + Words(random, language, 2);
    return html + "</p>\n";
}

}  // namespace

std::string Words(Random& random, const Language& language, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        if (i > 0) text += language.Gap;
        text += random.Of(language.Words);
    }
    return text;
}

std::string Sentence(Random& random, const Language& language) {
    std::string text = Words(random, language, static_cast<int>(random.Between(6, 16)));
    CapitaliseAscii(text);
    text += language.Stop;
    return text;
}

std::string Notes(Random& random, const Language& language, int least, int most) {
    // The lower of two random numbers, since long notes are rarer than short ones.
    const auto length = static_cast<std::size_t>(std::min(random.Between(least, most), random.Between(least, most)));
    std::string html;
    bool hasList = random.OneIn(2);
    while (html.size() < length) {
        std::string piece = Paragraph(random, language);
        if (!hasList && html.size() > length / 2) {
            piece = TimesList(random, language);
            hasList = true;
        }
        // If a whole paragraph would exceed the limit, end with a short one.
        if (html.size() + piece.size() > static_cast<std::size_t>(most))
            piece = "<p>" + Words(random, language, 3) + "</p>\n";
        html += piece;
    }
    return html;
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&apos;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}
