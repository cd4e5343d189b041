#ifndef TLG_TESTS_SUPPORT_NOTINGCONTROLLER_H
#define TLG_TESTS_SUPPORT_NOTINGCONTROLLER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "framework/FilesControlBase.h"
#include "framework/IMcuRecvData.h"
#include "tests/support/PpsObjectClient.h"

/// A controller that keeps what is delivered, and may hold a delivery up.
class NotingController : public TLG::ZOCAR::FilesControlBase, public TLG::ZOCAR::IMcuRecvData {
public:
    void OnAttributeChange(int key, pps_attrib_t* attrib) override {
        // Noted last, so that who waits for an event may then free what m_during refers to.
        const std::string event =
            std::to_string(key) + " " + attrib->attr_name + ":" + attrib->encoding + ":" + attrib->value;
        if (m_during) {
            m_during();
        }
        Note(event);
    }
    void OnRecvData(unsigned char* data, int length) override {
        Note("mcu " + std::string(reinterpret_cast<char*>(data), static_cast<std::size_t>(length)));
    }

    /// Waits until this number of events was delivered; then returns them all.
    std::vector<std::string> Wait(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::milliseconds(kTestTimeoutMs), [&] { return m_events.size() >= count; });
        return m_events;
    }

    void Note(const std::string& event) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
        m_changed.notify_all();
    }

    std::function<void()> m_during; ///< called during each delivery of an attribute, before it is noted

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events; // guarded by m_mutex
};

#endif
