#include "VEXA.Runtime.FormatString.h"

#include <optional>

namespace vexa {

namespace {

constexpr int kMaxCallDepth = 32;

bool IsNameCharacter(QChar c) {
    return c.isLetterOrNumber() || c == u'_';
}

/// The position of the ")%" that closes the call whose argument begins at `from`; −1 when there is none. Calls inside
/// the argument are recognised by "%Name(".
qsizetype ClosingParenthesis(QStringView text, qsizetype from) {
    int open = 1;
    for (qsizetype i = from; i < text.size(); ++i) {
        if (text[i] == u')' && i + 1 < text.size() && text[i + 1] == u'%') {
            if (--open == 0) return i;
            ++i;
        } else if (text[i] == u'%') {
            qsizetype end = i + 1;
            while (end < text.size() && IsNameCharacter(text[end])) ++end;
            if (end > i + 1 && end < text.size() && text[end] == u'(') {
                ++open;
                i = end;
            }
        }
    }
    return -1;
}

}  // namespace

FormatStringFactory::~FormatStringFactory() = default;

void FormatStringFactory::RegisterMacro(const QString& name, const Macro& macro) {
    FMacroNames += name;
    FMacros.insert(name, macro);
}

void FormatStringFactory::RegisterFunction(const QString& name, const Function& function) {
    FFunctions.insert(name, function);
}

QVariant FormatStringFactory::Evaluate(const QString& text, const void* context) const {
    const QString result = Expand(text, context, 0);
    return FTrimResult ? result.trimmed() : result;
}

QString FormatStringFactory::Expand(QStringView text, const void* context, int depth) const {
    QString result;
    while (!text.isEmpty()) {
        const qsizetype percent = text.indexOf(u'%');
        if (percent < 0) break;
        result += text.first(percent);
        text = text.sliced(percent);

        qsizetype end = 1;
        while (end < text.size() && IsNameCharacter(text[end])) ++end;
        const QString name = text.sliced(1, end - 1).toString();
        std::optional<QString> value;
        qsizetype length = 0;  // of the text that looks like a macro or a call
        if (!name.isEmpty() && end < text.size() && text[end] == u'%') {
            length = end + 1;
            if (const auto macro = FMacros.constFind(name); macro != FMacros.cend()) value = (*macro)(context);
        } else if (!name.isEmpty() && end < text.size() && text[end] == u'(' && depth < kMaxCallDepth) {
            if (const qsizetype close = ClosingParenthesis(text, end + 1); close >= 0) {
                length = close + 2;
                if (const auto function = FFunctions.constFind(name); function != FFunctions.cend())
                    value = (*function)(Expand(text.sliced(end + 1, close - end - 1), context, depth + 1));
            }
        }
        if (value) {
            result += *value;
            text = text.sliced(length);
        } else if (length > 0 && !FKeepUnknown) {
            text = text.sliced(length);
        } else {
            // The closing "%" of an unknown name may open the next macro, so skip only the first "%".
            result += u'%';
            text = text.sliced(1);
        }
    }
    return result += text;
}

}  // namespace vexa
