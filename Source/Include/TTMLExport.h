#ifndef TTML_EXPORT_H
#define TTML_EXPORT_H

// Marks what the library exports; everything else is hidden.
#define TTML_EXPORT __attribute__((visibility("default")))

#endif
