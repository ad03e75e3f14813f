#pragma once
// The pictures on the player's buttons, drawn in a colour of the palette at whatever size the screen asks for.

#include <QColor>
#include <QIcon>

namespace vexa::host {

enum class TransportIcon { Play, Pause, Back, Forward, Next, Previous, Volume, Sleep, Chapters };

QIcon MakeTransportIcon(TransportIcon icon, const QColor& color, const QColor& disabled);

}  // namespace vexa::host
