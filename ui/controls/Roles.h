#pragma once

/// Tells assistive technology what the drawn controls are: labels are texts, covers pictures, sliders have a
/// value, menu buttons open a menu, the playlist has rows, and all lie in a window. Every such control calls it
/// when it is made; once is enough.
void installAccessibleRoles();
