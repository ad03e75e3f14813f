#pragma once
// Text that superficially resembles that of podcasts: titles, sentences, and show notes in HTML.

#include "Languages.h"
#include "Random.h"

#include <string>
#include <string_view>

[[nodiscard]] std::string Words(Random& random, const Language& language, int count);

/// Begins with a capital (in ASCII) and ends with the language's stop.
[[nodiscard]] std::string Sentence(Random& random, const Language& language);

/// Show notes as podcast hosts write them: paragraphs, a list of times, links, entities. Between `least` and `most`
/// bytes, give or take the end of a paragraph.
[[nodiscard]] std::string Notes(Random& random, const Language& language, int least, int most);

/// `text` escaped for XML text and attributes.
[[nodiscard]] std::string Escaped(std::string_view text);
