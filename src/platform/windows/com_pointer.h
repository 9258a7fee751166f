// platform/windows/com_pointer.h - an interface of a COM object, owned.
#pragma once

#include <utility>

namespace platform {

// Holds one reference to an object, or none, and releases it at the end.
template <typename TInterface>
class CComPointer {
public:
    CComPointer() = default;
    ~CComPointer() { Release(); }
    CComPointer(const CComPointer&) = delete;
    CComPointer& operator=(const CComPointer&) = delete;

    void Release() {
        if (TInterface* const held = std::exchange(m_object, nullptr)) {
            held->Release();
        }
    }

    // Where a call that makes or finds an object puts the reference that it gives away.
    TInterface** Receive() {
        Release();
        return &m_object;
    }
    void** ReceiveAny() { return reinterpret_cast<void**>(Receive()); }

    [[nodiscard]] TInterface* Get() const { return m_object; }
    TInterface* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    TInterface* m_object = nullptr;
};

}  // namespace platform
