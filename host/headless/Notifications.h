#pragma once
// Notifications without a desktop: printed on standard error, and clicked by a command. Main thread.

namespace vexa::host {

/// From now on notifications are printed.
void PrintNotifications();

}  // namespace vexa::host
