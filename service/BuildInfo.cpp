// The information record of the executable, in a section of its own for the target's tools.

#ifndef TLG_INFO_HOST
#define TLG_INFO_HOST "unknown"
#endif
#ifndef TLG_INFO_USER
#define TLG_INFO_USER "unknown"
#endif

extern const char g_buildInfo[];

__attribute__((section("QNX_info"), used)) const char g_buildInfo[] = "NAME=Melvane\n"
                                                                      "DESCRIPTION=Melvane\n"
                                                                      "DATE=" __DATE__ " " __TIME__ "\n"
                                                                      "STATE=release\n"
                                                                      "HOST=" TLG_INFO_HOST "\n"
                                                                      "USER=" TLG_INFO_USER "\n"
                                                                      "VERSION=v1.00.00\n"
                                                                      "CHANGE=none\n"
                                                                      "PATCH=none\n";
