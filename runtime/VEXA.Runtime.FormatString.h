#pragma once
// Format strings: text with "%Name%" macros and "%Name(argument)%" functions of one argument.
//
// An argument is a format string itself, so it may contain macros and calls. A lone "%" and anything malformed are left
// unchanged. Names are case-sensitive. Evaluation is reentrant, because the tables never change once built.

#include "VEXA.Runtime.Export.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace vexa {

class VEXA_RUNTIME_API FormatStringFactory {
public:
    /// With both options at their defaults: unknown names are removed, and the result is trimmed.
    FormatStringFactory() = default;
    virtual ~FormatStringFactory();
    FormatStringFactory(const FormatStringFactory&) = delete;
    FormatStringFactory& operator=(const FormatStringFactory&) = delete;

    /// Replaces every macro and call in `text`; `context` is passed on to every macro.
    QVariant Evaluate(const QString& text, const void* context) const;

    /// The names of the macros, in the order registered.
    const QStringList& Macros() const noexcept { return FMacroNames; }

protected:
    using Macro = std::function<QString(const void* context)>;
    using Function = std::function<QString(const QString& argument)>;

    /// Fills the tables; an override calls the inherited function first. Called once, from the constructor of the most
    /// derived class.
    virtual void RegisterMacros() {}
    void RegisterMacro(const QString& name, const Macro& macro);
    void RegisterFunction(const QString& name, const Function& function);

    bool FKeepUnknown = false;
    bool FTrimResult = true;

private:
    QString Expand(QStringView text, const void* context, int depth) const;

    QStringList FMacroNames;
    QHash<QString, Macro> FMacros;
    QHash<QString, Function> FFunctions;
};

}  // namespace vexa
