// libfuse's low-level interface, in the version that all of this program uses.
#ifndef TLG_TOOLS_PPSFS_FUSE_H
#define TLG_TOOLS_PPSFS_FUSE_H

#define FUSE_USE_VERSION 312
#include <fuse3/fuse_lowlevel.h>

#endif
