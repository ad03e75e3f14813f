#pragma once
// The basis of every interface between the host application, its runtime library and the plug-ins: identifiers, result
// codes, the reference-counted base, and the smart pointer that is the only caller of AddRef and Release.
//
// The binary rules: an interface has only pure virtual, noexcept operations in slot order, no data and no virtual
// destructor; its first three slots are those of IUnknown. No exception ever crosses an interface.

#include <cstddef>
#include <cstdint>
#include <utility>

namespace vexa {

/// A 128-bit interface identifier, in the layout of the COM GUID structure.
struct Guid {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const Guid&, const Guid&) = default;
};

/// Reads "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" at compile time; anything else does not compile.
consteval Guid ParseGuid(const char (&text)[39]) {
    auto digit = [](char c) -> std::uint32_t {
        if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
        if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A' + 10);
        if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a' + 10);
        throw "a GUID is written {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    };
    auto number = [&](int at, int digits) {
        std::uint32_t value = 0;
        for (int i = 0; i < digits; ++i) value = value * 16 + digit(text[at + i]);
        return value;
    };
    if (text[0] != '{' || text[9] != '-' || text[14] != '-' || text[19] != '-' || text[24] != '-' || text[37] != '}')
        throw "a GUID is written {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    Guid guid{number(1, 8), static_cast<std::uint16_t>(number(10, 4)), static_cast<std::uint16_t>(number(15, 4)), {}};
    for (int i = 0; i < 2; ++i) guid.Data4[i] = static_cast<std::uint8_t>(number(20 + 2 * i, 2));
    for (int i = 0; i < 6; ++i) guid.Data4[2 + i] = static_cast<std::uint8_t>(number(25 + 2 * i, 2));
    return guid;
}

/// A 32-bit result code; a set top bit means failure.
using HResult = std::int32_t;

inline constexpr HResult S_OK = 0;
inline constexpr HResult S_FALSE = 1;  // also a success; the operations that return it say what it means
inline constexpr HResult E_NOTIMPL = static_cast<HResult>(0x80004001u);
inline constexpr HResult E_NOINTERFACE = static_cast<HResult>(0x80004002u);
inline constexpr HResult E_POINTER = static_cast<HResult>(0x80004003u);
inline constexpr HResult E_ABORT = static_cast<HResult>(0x80004004u);
inline constexpr HResult E_FAIL = static_cast<HResult>(0x80004005u);
inline constexpr HResult E_UNEXPECTED = static_cast<HResult>(0x8000FFFFu);
inline constexpr HResult E_INVALIDARG = static_cast<HResult>(0x80070057u);

constexpr bool Failed(HResult code) noexcept {
    return code < 0;
}
constexpr bool Succeeded(HResult code) noexcept {
    return code >= 0;
}

/// The reference-counted base. Only Release destroys an object, hence the protected, non-virtual destructor.
struct IUnknown {
    static constexpr Guid IID = ParseGuid("{00000000-0000-0000-C000-000000000046}");

    /// On S_OK `*object` is the requested interface with a reference added; on E_NOINTERFACE it is null.
    virtual HResult QueryInterface(const Guid& iid, void** object) noexcept = 0;
    /// Both return the new count, for diagnosis only.
    virtual std::int32_t AddRef() noexcept = 0;
    virtual std::int32_t Release() noexcept = 0;

protected:
    ~IUnknown() = default;
};

/// Owns one reference to an interface (or to an object that implements one). Copying adds a reference.
template <class T>
class Ref {
public:
    constexpr Ref() noexcept = default;
    constexpr Ref(std::nullptr_t) noexcept {}
    Ref(T* object) noexcept : FObject(object) {
        if (FObject) FObject->AddRef();
    }
    Ref(const Ref& other) noexcept : Ref(other.FObject) {}
    Ref(Ref&& other) noexcept : FObject(std::exchange(other.FObject, nullptr)) {}
    template <class U>
    Ref(const Ref<U>& other) noexcept : Ref(other.Get()) {}
    ~Ref() {
        if (FObject) FObject->Release();
    }
    Ref& operator=(Ref other) noexcept {
        std::swap(FObject, other.FObject);
        return *this;
    }

    T* Get() const noexcept { return FObject; }
    T* operator->() const noexcept { return FObject; }
    T& operator*() const noexcept { return *FObject; }
    explicit operator bool() const noexcept { return FObject != nullptr; }
    friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.FObject == b.FObject; }

    /// The address to pass as an out argument. The reference that arrives there is owned by this Ref.
    T** Put() noexcept {
        *this = nullptr;
        return &FObject;
    }
    /// The same for operations that take an interface identifier and a void**; pass them T::IID.
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }
    /// Hands the reference over, for filling an out argument. The Ref is empty afterwards.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(FObject, nullptr); }

private:
    T* FObject = nullptr;
};

/// Asks `object` for the interface T; empty when it does not offer it.
template <class T, class U>
Ref<T> Query(U* object) noexcept {
    Ref<T> result;
    if (!object || Failed(object->QueryInterface(T::IID, result.PutVoid()))) return {};
    return result;
}

}  // namespace vexa
