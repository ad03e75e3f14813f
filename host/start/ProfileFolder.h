#pragma once
// Whether the user's data can be kept.

#include <QString>

namespace vexa::host {

/// Throws std::runtime_error when files cannot be made and filled in the folder, such as on a full disk.
void CheckWritable(const QString& folder);

}  // namespace vexa::host
