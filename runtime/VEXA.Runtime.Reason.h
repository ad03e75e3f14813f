#pragma once
// Why something failed, in a form that can be shown in every language: the key of a text in the language files, the
// text in English, and what stands at its places.
//
//     throw ReasonError(Reason(RuntimeReason("NotTrusted"), {words}));
//
// Each library has one table of its texts: VEXA.Runtime.Reasons.h, and others like it. English is what logs and the
// command line show; a window asks for the reason in its own language when it shows it.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace vexa {

/// One text of a table. A text begins small and has no full stop, because it follows a name and a colon, or stands
/// inside another text.
struct ReasonText {
    const char* Key;      // "Section\\Name", as in language files
    const char* English;  // with the places %1 to %9
};

/// The table's text of that name. A name that the table lacks does not compile.
template <std::size_t Count>
consteval const ReasonText& FindReason(const ReasonText (&table)[Count], std::string_view name) {
    for (const ReasonText& text : table) {
        const std::string_view key = text.Key;
        if (key.ends_with(name) && key.size() > name.size() && key[key.size() - name.size() - 1] == '\\') return text;
    }
    throw "the table has no such text";
}

/// An immutable value; a copy shares its data. Any thread.
class VEXA_RUNTIME_API Reason {
public:
    /// No reason: nothing has failed.
    Reason() = default;
    /// A text of a table, which must live as long as the program, with an argument for each of its places. An argument
    /// may be a reason with a text of its own.
    explicit Reason(const ReasonText& text, std::initializer_list<Reason> arguments = {});
    explicit Reason(const ReasonText&& temporary, std::initializer_list<Reason> arguments = {}) = delete;
    /// Words that are the same in every language: a name, a number, or what another program or library says.
    Reason(const QString& words);

    /// Whether there is a reason.
    explicit operator bool() const noexcept { return FData != nullptr; }

    /// Empty when there is no reason.
    QString English() const;
    /// The same in another language. `find` returns the text of a key; when it returns an empty one, English is used.
    QString Translated(const std::function<QString(const QString& key)>& find) const;

private:
    struct Data;
    std::shared_ptr<const Data> FData;
};

/// An exception with a reason. The message is the reason in English.
class VEXA_RUNTIME_API ReasonError : public std::runtime_error {
public:
    explicit ReasonError(Reason why);
    ReasonError(const ReasonError&) = default;
    ~ReasonError() override;

    const Reason& Why() const noexcept { return FWhy; }

private:
    Reason FWhy;
};

/// The exception's reason; for an exception without one, its message as words.
VEXA_RUNTIME_API Reason ReasonOf(const std::exception& error);
/// The same of the exception that is being handled; no reason when it has no message.
VEXA_RUNTIME_API Reason CaughtReason();

/// What an error number of the operating system means (`errno`). Rare errors have the words of the C library.
VEXA_RUNTIME_API Reason SystemReason(int error);

}  // namespace vexa
