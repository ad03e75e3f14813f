#pragma once
// Access to the host's texts and messages for every part of the window. Main thread.

#include "Guarded.h"
#include "Language.h"
#include "Messages.h"

#include <functional>

namespace vexa::host {

/// The window's own texts, in the user's language.
class WindowTexts {
public:
    explicit WindowTexts(const LanguageService& language) : FLanguage(language) {}

    QString operator()(const char* key, int part = 0) const {
        return FLanguage.Text(u"Window\\" + QString::fromLatin1(key), part);
    }
    /// The text with `value` in place of its first "%s". A "%s" in `value` itself is not replaced.
    QString operator()(const char* key, const QString& value) const { return Filled((*this)(key), value); }
    static QString Filled(QString text, const QString& value) {
        const auto place = text.indexOf(QLatin1String("%s"));
        return place < 0 ? text : text.replace(place, 2, value);
    }
    QString operator()(const Reason& why) const { return FLanguage.Text(why); }
    /// A text of the controls of playback.
    QString Player(const char* key, int part = 0) const {
        return FLanguage.Text(u"Player\\" + QString::fromLatin1(key), part);
    }
    /// Texts about the rows of a storage: the language's texts for this storage, else the window's general ones.
    enum class RowText { Search, Name, Count, NothingSelected, Sources, NoRows, NothingNew, NothingLater, NodeOptions };
    QString Rows(const QString& storageID, RowText which) const {
        const int part = static_cast<int>(which);
        const QString own = FLanguage.Text(u"Rows\\" + storageID, part);
        return own.isEmpty() ? (*this)("Rows", part) : own;
    }
    QString Field(const QString& name) const {
        const QString caption = FLanguage.Text(u"Fields\\" + name);
        return caption.isEmpty() ? name : caption;
    }

private:
    const LanguageService& FLanguage;
};

/// Listens to one kind of message during its lifetime.
class MessageListener {
public:
    MessageListener(MessageDispatcher& messages, std::uint32_t message, std::function<void()> then)
        : FMessages(&messages), FHook(new Hook(message, std::move(then))) {
        FMessages->Hook(FHook.Get());
    }
    ~MessageListener() { FMessages->Unhook(FHook.Get()); }
    MessageListener(const MessageListener&) = delete;
    MessageListener& operator=(const MessageListener&) = delete;

private:
    class Hook final : public RefCountedObject<IVEXAMessageHook> {
    public:
        Hook(std::uint32_t message, std::function<void()> then) : FMessage(message), FThen(std::move(then)) {}
        void OnMessage(std::uint32_t message, std::int32_t, void*, HResult*) noexcept override {
            if (message == FMessage) Guarded("hearing a message", FThen);
        }

    private:
        const std::uint32_t FMessage;
        const std::function<void()> FThen;
    };

    const Ref<MessageDispatcher> FMessages;
    const Ref<IVEXAMessageHook> FHook;
};

}  // namespace vexa::host
