#include "VEXA.Runtime.Log.h"

namespace vexa {

Q_LOGGING_CATEGORY(LogHttp, "podcasts.http", QtWarningMsg)
Q_LOGGING_CATEGORY(LogDatabase, "podcasts.db", QtWarningMsg)
Q_LOGGING_CATEGORY(LogRefresh, "podcasts.refresh", QtWarningMsg)
Q_LOGGING_CATEGORY(LogDownload, "podcasts.download", QtWarningMsg)
Q_LOGGING_CATEGORY(LogPlugin, "podcasts.plugin", QtWarningMsg)
Q_LOGGING_CATEGORY(LogRuntime, "podcasts.runtime", QtWarningMsg)

}  // namespace vexa
