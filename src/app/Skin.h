#pragma once

namespace Skin {

// Makes the skin file beside the executable known to Qt's resource system; without it the application runs unskinned.
void registerResource();

// Applies the skin's style sheet to the application, or the empty one where there is none.
void applyStyleSheet();

} // namespace Skin
