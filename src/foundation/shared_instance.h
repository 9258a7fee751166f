// foundation/shared_instance.h - the one instance of a class, counted by its users.
#pragma once

#include <atomic>

// Keeps the one `T`: the first Acquire builds it, and the Release that takes the count to 0 deletes
// it. The next Acquire after that builds it again, from the machine as it is then. The count is
// atomic, the pointer is not guarded: no second thread may acquire before the first Acquire has
// returned.
template <class T>
class CSharedInstance {
public:
    // Adds one user and lends the instance to it.
    [[nodiscard]] static T* Acquire() {
        // Built before it is counted, so that a constructor that throws adds no user.
        if (s_users.load() == 0) {
            s_instance = new T;
        }
        s_users.fetch_add(1);
        return s_instance;
    }

    // Removes one user; each call pairs with one Acquire.
    static void Release() {
        if (s_users.fetch_sub(1) == 1) {
            delete s_instance;
            s_instance = nullptr;
        }
    }

private:
    inline static std::atomic<int> s_users = 0;
    inline static T* s_instance = nullptr;
};

// Is one user of the instance of `T` for as long as it lives. `T` has static operations Acquire and
// Release, which usually call those of CSharedInstance.
template <class T>
class CSharedHolder {
public:
    CSharedHolder() : m_instance(T::Acquire()) {}
    ~CSharedHolder() { T::Release(); }
    CSharedHolder(const CSharedHolder&) = delete;
    CSharedHolder& operator=(const CSharedHolder&) = delete;

    T* operator->() const { return m_instance; }
    T& operator*() const { return *m_instance; }

private:
    T* m_instance;
};
