#pragma once
// The functions of the commands; each returns the program's exit status. The table of commands is in Commands.cpp.

#include "Arguments.h"
#include "Session.h"

namespace podcasts::cli {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

int RunSubscribe(Session& session, const Arguments& arguments);
int RunUnsubscribe(Session& session, const Arguments& arguments);
int RunFind(Session& session, const Arguments& arguments);
int RunFeeds(Session& session, const Arguments& arguments);
int RunSetAddress(Session& session, const Arguments& arguments);
int RunRefresh(Session& session, const Arguments& arguments);

int RunEpisodes(Session& session, const Arguments& arguments);
int RunShow(Session& session, const Arguments& arguments);
int RunMark(Session& session, const Arguments& arguments);
int RunDownload(Session& session, const Arguments& arguments);
int RunDeleteFiles(Session& session, const Arguments& arguments);
int RunCheckFiles(Session& session, const Arguments& arguments);

void CheckFind(const Arguments& arguments);
void CheckImport(const Arguments& arguments);
void CheckSubscribe(const Arguments& arguments);
void CheckEpisodes(const Arguments& arguments);
void CheckMark(const Arguments& arguments);
void CheckDownload(const Arguments& arguments);

int RunBackup(const QString& profileFolder, Terminal& terminal, const Arguments& arguments);
int RunRestore(const QString& profileFolder, Terminal& terminal, const Arguments& arguments);
int RunCheck(const QString& profileFolder, Terminal& terminal, const Arguments& arguments);
void CheckBackup(const Arguments& arguments);
int RunImport(Session& session, const Arguments& arguments);
int RunExport(Session& session, const Arguments& arguments);
int RunMoveFiles(Session& session, const Arguments& arguments);

/// Subscribes to the feeds of an OPML list.
int ImportOpml(Session& session, const QString& fileName);

int RunOptions(Session& session, const Arguments& arguments);
int RunFeedOptions(Session& session, const Arguments& arguments);

}  // namespace podcasts::cli
