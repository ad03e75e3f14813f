#pragma once
// The icons on the player's buttons, drawn in a given colour at whatever size is needed.

#include <QColor>
#include <QIcon>

namespace vexa::host {

enum class TransportIcon { Play, Pause, Back, Forward, Next, Previous, Volume, Sleep, Chapters };

QIcon MakeTransportIcon(TransportIcon icon, const QColor& color, const QColor& disabled);

}  // namespace vexa::host
