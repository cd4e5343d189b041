#ifndef TLG_FRAMEWORK_EXPORT_H
#define TLG_FRAMEWORK_EXPORT_H

/// Marks what programs may use of the library; everything else is hidden in it.
#define TLG_API __attribute__((visibility("default")))

#endif
