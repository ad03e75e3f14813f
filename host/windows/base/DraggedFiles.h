#pragma once
// How files are dragged from one pane of the window to another.

namespace vexa::host {

/// The type of the data: the files' names, one a line.
inline constexpr char kFilesMimeType[] = "application/x-vexa-files";

}  // namespace vexa::host
