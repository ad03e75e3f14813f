#pragma once
// The thin layer between this plug-in and its host: the process-wide core reference, services and objects by
// identifier, texts, property lists, the configuration, and the base of every object that is passed to the host.
//
// Failures are thrown as exceptions with fixed messages, which contain the host's result code in decimal. Objects for
// the host turn exceptions into result codes themselves. Any thread may call these functions between
// TVEXAAPIWrappers::Initialize and Finalize, which are called on the main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Guard.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.SDK.h"

#include <QString>

#include <atomic>
#include <stdexcept>
#include <type_traits>

class QIODevice;

namespace vexa {

class EHostError : public std::runtime_error {
public:
    explicit EHostError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class EStreamError : public std::runtime_error {
public:
    explicit EStreamError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

/// Sets and clears the core reference.
class TVEXAAPIWrappers {
public:
    TVEXAAPIWrappers() = delete;
    static void Initialize(IVEXACore* core);
    static void Finalize();
};

/// If the code is a failure, throws EHostError with the message `format`, whose "%d" is replaced by the code.
void RaiseIfFailed(HResult code, const QString& format = QStringLiteral("%d"));

/// The host's core. Throws EHostError "Plugin was not initialized" when there is none.
Ref<IVEXACore> HostCore();

/// False when there is no core, or when the host lacks the service.
[[nodiscard]] bool QueryHostService(const Guid& iid, void** service) noexcept;

template <class Service>
Ref<Service> HostService() noexcept {
    Ref<Service> service;
    return QueryHostService(Service::IID, service.PutVoid()) ? service : Ref<Service>();
}

/// Asks the host's core for a new object. Throws EHostError "Cannot create object (%d)".
void CreateHostObject(const Guid& iid, void** object);

template <class Object>
Ref<Object> CreateHostObject() {
    Ref<Object> object;
    CreateHostObject(Object::IID, object.PutVoid());
    return object;
}

// ---- Texts and variants ----

Ref<IVEXAString> ToHostString(const QString& text);
/// A null string reads as the empty text.
QString FromHostString(IVEXAString* text);

Variant ToVariant(const QString& text);
Variant ToVariant(std::int32_t value);
Variant ToVariant(std::int64_t value);
Variant ToVariant(double value);
/// Convert a variant's value; an empty variant reads as the empty text or 0. The conversions to numbers throw
/// std::invalid_argument for a text that is not a number, and for a number that is out of range.
QString VariantToText(const Variant& value);
double VariantToFloat(const Variant& value);
std::int32_t VariantToInt32(const Variant& value);
std::int64_t VariantToInt64(const Variant& value);

/// The text in the user's language for a key such as "Podcasts\Caption"; empty when there is none.
QString LocalizedText(const QString& key);
/// One part of the key's text, counted from 0.
QString LocalizedTextPart(const QString& key, int part);
/// The reason in the user's language, with English texts where that has none.
QString LocalizedText(const Reason& why);
/// `format` with its first "%s" replaced by `value`. Placeholders in `value` are not replaced.
QString FormatText(QString format, const QString& value);

// ---- Property lists ----

/// The default when the list is null or has no such number.
std::int32_t ReadPropertyInt32(IVEXAPropertyList* list, std::int32_t id, std::int32_t defaultValue = 0) noexcept;
/// Empty when the list is null or has no such text.
QString ReadPropertyString(IVEXAPropertyList* list, std::int32_t id);
/// The writers throw EHostError: "PropList is nil" for a null list, or with the code with which the list failed.
void WritePropertyFloat(IVEXAPropertyList* list, std::int32_t id, double value);
void WritePropertyInt32(IVEXAPropertyList* list, std::int32_t id, std::int32_t value);
void WritePropertyObject(IVEXAPropertyList* list, std::int32_t id, IUnknown* value);
void WritePropertyString(IVEXAPropertyList* list, std::int32_t id, const QString& text);

// ---- Messages ----

/// E_NOINTERFACE when the host lacks the dispatcher.
HResult SendHostMessage(std::uint32_t message, std::int32_t param1, void* param2);
/// The owner of the plug-in's dialogs; 0 when the host has no window.
WindowHandle HostMainWindow();

// ---- The configuration ----

/// The host's configuration, for one batch of reads or writes. Keys are paths such as "Podcasts\CheckUpdates".
class TVEXAServiceConfig {
public:
    /// Throws EHostError "The IVEXAServiceConfig is not supported".
    TVEXAServiceConfig();

    std::int32_t ReadInteger(const QString& keyPath, std::int32_t defaultValue);
    bool ReadBool(const QString& keyPath, bool defaultValue);
    QString ReadString(const QString& keyPath, const QString& defaultValue);
    void WriteInteger(const QString& keyPath, std::int32_t value);
    void WriteBool(const QString& keyPath, bool value);
    void WriteString(const QString& keyPath, const QString& value);

private:
    Ref<IVEXAServiceConfig> FService;
};

// ---- Arguments from the host ----

/// Whether all pointers that an operation requires are given. If one is null, the operation returns E_POINTER.
template <class... Pointers>
constexpr bool AreGiven(const Pointers*... pointers) noexcept {
    return ((pointers != nullptr) && ...);
}

/// Sets the out arguments to null, as they must be on failure; false when one of them is not given.
template <class... Objects>
[[nodiscard]] bool ClearOut(Objects**... out) noexcept {
    ((out ? void(*out = nullptr) : void()), ...);
    return AreGiven(out...);
}

// ---- Objects for the host ----

/// The base of every object that the host may hold. Create objects with NewObject. While the constructor runs the count
/// is 1, so that adding and releasing a reference there does not destroy the object.
class TInterfacedObjectEx : public IUnknown {
public:
    TInterfacedObjectEx(const TInterfacedObjectEx&) = delete;
    TInterfacedObjectEx& operator=(const TInterfacedObjectEx&) = delete;

    HResult QueryInterface(const Guid& iid, void** object) noexcept override;
    std::int32_t AddRef() noexcept override;
    std::int32_t Release() noexcept override;

    /// Destroys the object without a Release. Throws EHostError "Invalid Pointer" while there are references.
    void Free();
    /// Releases the constructor's reference. Only NewObject calls it.
    void AfterConstruction() noexcept;

protected:
    TInterfacedObjectEx() = default;
    virtual ~TInterfacedObjectEx() = default;

private:
    std::atomic<std::int32_t> FRefCount{1};
};

template <class T, class... Arguments>
Ref<T> NewObject(Arguments&&... arguments) {
    T* object = new T(std::forward<Arguments>(arguments)...);
    Ref<T> result(object);
    object->AfterConstruction();
    return result;
}

/// Adds interfaces to a class derived from TInterfacedObjectEx. QueryInterface tries them before those of ParentClass.
template <class ParentClass, class... Interfaces>
class Implements : public ParentClass, public Interfaces... {
public:
    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        *object = nullptr;
        (void)((*object = OfferedInterface<Interfaces>(this, iid)) || ...);
        if (!*object) return ParentClass::QueryInterface(iid, object);
        AddRef();
        return S_OK;
    }
    std::int32_t AddRef() noexcept override { return ParentClass::AddRef(); }
    std::int32_t Release() noexcept override { return ParentClass::Release(); }

protected:
    using ParentClass::ParentClass;
};

/// Runs `body` on behalf of the host and returns its result, or S_OK if it has none. An exception is logged with `what`
/// and turned into `failure`.
template <class Body>
HResult GuardedCall(const char* what, Body&& body, HResult failure = E_UNEXPECTED) noexcept {
    return GuardedCall(LogPlugin(), what, body, failure);
}

/// An object that the host reads and writes as a property list. Each operation first calls CanProceed, and then the
/// virtual function of the same name with the prefix Do; derived classes override the functions that they support.
class TVEXAPropertyList : public Implements<TInterfacedObjectEx, IVEXAPropertyList2> {
public:
    void BeginUpdate() noexcept override;
    void EndUpdate() noexcept override;
    HResult Reset() noexcept override;
    HResult GetValueAsFloat(std::int32_t propertyID, double* value) noexcept override;
    HResult GetValueAsInt32(std::int32_t propertyID, std::int32_t* value) noexcept override;
    HResult GetValueAsInt64(std::int32_t propertyID, std::int64_t* value) noexcept override;
    HResult GetValueAsObject(std::int32_t propertyID, const Guid& iid, void** value) noexcept override;
    HResult GetValueAsVariant(std::int32_t propertyID, Variant* value) noexcept override;
    HResult SetValueAsFloat(std::int32_t propertyID, double value) noexcept override;
    HResult SetValueAsInt32(std::int32_t propertyID, std::int32_t value) noexcept override;
    HResult SetValueAsInt64(std::int32_t propertyID, std::int64_t value) noexcept override;
    HResult SetValueAsObject(std::int32_t propertyID, IUnknown* value) noexcept override;
    HResult SetValueAsVariant(std::int32_t propertyID, const Variant* value) noexcept override;

protected:
    /// Returns false to refuse the operation, with `code` as its result.
    virtual bool CanProceed(HResult& code);
    virtual void DoBeginUpdate() {}
    virtual void DoEndUpdate() {}
    // `result` is initially S_OK.
    virtual void DoGetValueAsFloat(std::int32_t propertyID, double& value, HResult& result);
    virtual void DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, HResult& result);
    virtual void DoGetValueAsInt64(std::int32_t propertyID, std::int64_t& value, HResult& result);
    /// Null when there is no such object.
    virtual Ref<IUnknown> DoGetValueAsObject(std::int32_t propertyID);
    virtual void DoGetValueAsVariant(std::int32_t propertyID, Variant& value, HResult& result);
    virtual void DoSetValueAsFloat(std::int32_t propertyID, double value, HResult& result);
    virtual void DoSetValueAsInt32(std::int32_t propertyID, std::int32_t value, HResult& result);
    virtual void DoSetValueAsInt64(std::int32_t propertyID, std::int64_t value, HResult& result);
    virtual void DoSetValueAsObject(std::int32_t propertyID, IUnknown* value, HResult& result);
    virtual void DoSetValueAsVariant(std::int32_t propertyID, const Variant& value, HResult& result);
    virtual void DoReset(HResult& result);

private:
    template <class Operation>
    HResult Serve(const char* what, Operation operation) noexcept;

    Ref<IUnknown> FCustomObject;  // property 0
};

/// A TVEXAPropertyList that also implements Interface, which extends the property list without adding operations.
template <class Interface>
class TVEXAPropertyListAs : public Implements<TVEXAPropertyList, Interface> {
    using List = TVEXAPropertyList;

public:
    void BeginUpdate() noexcept override { List::BeginUpdate(); }
    void EndUpdate() noexcept override { List::EndUpdate(); }
    HResult Reset() noexcept override { return List::Reset(); }
    HResult GetValueAsFloat(std::int32_t id, double* value) noexcept override {
        return List::GetValueAsFloat(id, value);
    }
    HResult GetValueAsInt32(std::int32_t id, std::int32_t* value) noexcept override {
        return List::GetValueAsInt32(id, value);
    }
    HResult GetValueAsInt64(std::int32_t id, std::int64_t* value) noexcept override {
        return List::GetValueAsInt64(id, value);
    }
    HResult GetValueAsObject(std::int32_t id, const Guid& iid, void** value) noexcept override {
        return List::GetValueAsObject(id, iid, value);
    }
    HResult SetValueAsFloat(std::int32_t id, double value) noexcept override {
        return List::SetValueAsFloat(id, value);
    }
    HResult SetValueAsInt32(std::int32_t id, std::int32_t value) noexcept override {
        return List::SetValueAsInt32(id, value);
    }
    HResult SetValueAsInt64(std::int32_t id, std::int64_t value) noexcept override {
        return List::SetValueAsInt64(id, value);
    }
    HResult SetValueAsObject(std::int32_t id, IUnknown* value) noexcept override {
        return List::SetValueAsObject(id, value);
    }
};

/// The toolkit's path of a resource of this module, for instance of ("MENUGLYPH", "PNG").
QString ResourcePath(const QString& name, const QString& type);

/// Offers a QIODevice of the plug-in to the host as an IVEXAStream.
class TVEXAStreamAdapter : public Implements<TInterfacedObjectEx, IVEXAStream> {
public:
    enum class Ownership { Borrowed, Owned };

    /// Creates an adapter for `source`; an adapter that owns its source frees it. Throws EStreamError "Unsupported
    /// stream class" when the class Adapter does not accept the source, which the caller then still owns.
    template <class Adapter = TVEXAStreamAdapter>
    static Ref<Adapter> Create(QIODevice* source, Ownership ownership) {
        Ref<Adapter> adapter = NewObject<Adapter>();
        adapter->Attach(source, ownership);
        return adapter;
    }
    /// Creates an adapter for a resource of this module. Throws EStreamError when the resource does not exist.
    static Ref<TVEXAStreamAdapter> CreateFromResource(const QString& name, const QString& type);
    static bool ResourceExists(const QString& name, const QString& type);

    std::int64_t GetSize() noexcept override;
    HResult SetSize(std::int64_t size) noexcept override;
    std::int64_t GetPosition() noexcept override;
    HResult Seek(std::int64_t offset, std::int32_t mode) noexcept override;
    std::int32_t Read(void* buffer, std::uint32_t count) noexcept override;
    HResult Write(const void* buffer, std::uint32_t count, std::uint32_t* written) noexcept override;

protected:
    template <class T, class... Arguments>
    friend Ref<T> NewObject(Arguments&&... arguments);
    TVEXAStreamAdapter() = default;
    ~TVEXAStreamAdapter() override;

    virtual bool Accepts(QIODevice&) const { return true; }
    /// Returns the number of bytes read; Read turns an exception into −1.
    virtual std::int32_t DoRead(void* buffer, std::uint32_t count);

    QIODevice* FSource = nullptr;

private:
    void Attach(QIODevice* source, Ownership ownership);

    Ownership FOwnership = Ownership::Borrowed;
};

}  // namespace vexa
