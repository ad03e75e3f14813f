#pragma once
// Checks whether the user's data can be saved.

#include <QString>

namespace vexa::host {

/// Throws ReasonError when no files can be written in the folder, such as because the disk is full.
void CheckWritable(const QString& folder);

}  // namespace vexa::host
