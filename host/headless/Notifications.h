#pragma once
// Notifications without a desktop: they are printed on standard error, and a command clicks them. Main thread.

namespace vexa::host {

/// Has notifications printed from now on.
void PrintNotifications();

}  // namespace vexa::host
