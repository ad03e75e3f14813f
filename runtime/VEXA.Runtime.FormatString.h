#pragma once
// Format strings: text with "%Name%" macros and "%Name(argument)%" functions of one argument.
//
// An argument is a format string itself, so it may hold macros and calls. An unknown name, a lone "%" and anything
// malformed stay as they are. Names are case-sensitive. Evaluation is reentrant: the tables never change once built.

#include "VEXA.Runtime.Export.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace vexa {

class VEXA_RUNTIME_API FormatStringFactory {
public:
    /// Both options as the base has them: unknown names vanish, and the result loses its outer blanks.
    FormatStringFactory() = default;
    virtual ~FormatStringFactory();
    FormatStringFactory(const FormatStringFactory&) = delete;
    FormatStringFactory& operator=(const FormatStringFactory&) = delete;

    /// Replaces every macro and call in `text`; `context` is handed to each of them as it is.
    QVariant Evaluate(const QString& text, const void* context) const;

    /// Names of the macros in the order registered.
    const QStringList& Macros() const noexcept { return FMacroNames; }

protected:
    using Macro = std::function<QString(const void* context)>;
    using Function = std::function<QString(const QString& argument)>;

    /// Fills the tables; derived classes call the inherited one first. Called once, from the constructor of the class
    /// that is made.
    virtual void RegisterMacros() {}
    void RegisterMacro(const QString& name, Macro macro);
    void RegisterFunction(const QString& name, Function function);

    bool FKeepUnknown = false;
    bool FTrimResult = true;

private:
    QString Expand(QStringView text, const void* context, int depth) const;

    QStringList FMacroNames;
    QHash<QString, Macro> FMacros;
    QHash<QString, Function> FFunctions;
};

}  // namespace vexa
