// The application's icon (resource 137), drawn at build time in several sizes.
// The main thread only (the window's), as Qt's pixmaps.
#pragma once

#include <QIcon>

// All sizes of the icon; an empty icon when the resources are not linked in.
QIcon AppIcon();
// The icon at the system's large icon size (32 by 32).
QPixmap AppLargeIcon();
