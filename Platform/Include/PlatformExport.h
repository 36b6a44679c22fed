#ifndef TTML_PLATFORM_EXPORT_H
#define TTML_PLATFORM_EXPORT_H

// Marks what the platform libraries export and the source layer imports.
#define TTML_PLATFORM_EXPORT __attribute__((visibility("default")))

#endif
