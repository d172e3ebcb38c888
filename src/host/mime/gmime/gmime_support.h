#pragma once
// Small helpers around GMime's object model: one-time initialisation and owning pointers for
// GObjects and g_malloc'd strings.
#include <QByteArray>
#include <QString>

#include <gmime/gmime.h>

#include <utility>

// Initialises GMime once per process; safe to call from everywhere.
void EnsureGMime();

// Owns one reference to a GObject.
template <class T> class GRef {
  public:
    GRef() = default;
    // Takes over a reference the caller already owns.
    explicit GRef(T* owned) : p_(owned) {}
    GRef(const GRef& other) : p_(other.p_) {
        if (p_) g_object_ref(p_);
    }
    GRef(GRef&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    GRef& operator=(GRef other) noexcept {
        std::swap(p_, other.p_);
        return *this;
    }
    ~GRef() {
        if (p_) g_object_unref(p_);
    }
    // A new reference to an object someone else owns.
    static GRef borrow(T* p) {
        if (p) g_object_ref(p);
        return GRef(p);
    }
    T* get() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }

  private:
    T* p_ = nullptr;
};

// Takes a g_malloc'd UTF-8 string, frees it and returns it as text.
QString TakeGString(char* s);
// The same for bytes.
QByteArray TakeGBytes(char* s);
