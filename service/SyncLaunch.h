#ifndef TLG_SERVICE_SYNCLAUNCH_H
#define TLG_SERVICE_SYNCLAUNCH_H

/// Sends requests to the system's application launcher; nothing is read back.
class SyncLaunch {
public:
    virtual ~SyncLaunch() = default;

    /// Asks the launcher to show a module.
    /// @param app the module's name; @param dat its data. A request of more than 255 characters is cut.
    /// @return 0 when the launcher object could be opened, even if it took no request; otherwise -1, logged
    static int ShowModule(const char* app, const char* dat);
};

#endif
