#include "Log.h"

namespace vexa::host {

const QLoggingCategory& LogHost() {
    static const QLoggingCategory category("vexa.host", QtWarningMsg);
    return category;
}

}  // namespace vexa::host
