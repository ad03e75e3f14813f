#pragma once
// The folder of the user's data, when the player starts.

#include <QString>

namespace vexa::host {

/// A backup that was to be restored at the next start takes the place of the present files, unless another program has
/// the profile open. Call it before anything is read. Throws ReasonError.
void FinishRestoring(const QString& folder);

/// Throws ReasonError when no files can be written in the folder, such as because the disk is full.
void CheckWritable(const QString& folder);

}  // namespace vexa::host
