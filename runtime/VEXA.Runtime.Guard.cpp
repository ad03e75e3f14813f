#include "VEXA.Runtime.Guard.h"

#include <exception>

namespace vexa {

QString CaughtMessage() {
    try {
        throw;
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return {};
    }
}

void LogCaughtException(const QLoggingCategory& category, const char* what) noexcept {
    const QString message = CaughtMessage();
    if (message.isEmpty())
        qCWarning(category).noquote() << what << "failed for an unknown reason";
    else
        qCWarning(category).noquote() << what << "failed:" << message;
}

}  // namespace vexa
