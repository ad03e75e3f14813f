#pragma once
// How the parts of the window get covers without knowing where they come from.

#include <QPixmap>
#include <QString>

#include <functional>

namespace vexa::host {

/// The cover of the container `name` that a file belongs to, a square of `side` pixels; null for none. Main thread.
using CoverSource = std::function<QPixmap(const QString& file, const QString& name, int side)>;

}  // namespace vexa::host
