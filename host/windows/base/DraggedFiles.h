#pragma once
// Dragging files from one pane of the window to another.

namespace vexa::host {

/// The MIME type of the dragged data: file names, one per line.
inline constexpr char kFilesMimeType[] = "application/x-vexa-files";

}  // namespace vexa::host
