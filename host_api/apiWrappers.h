#pragma once
// The thin layer between this plug-in and its host: the process-wide core reference, services and objects by
// identifier, texts, property lists, the configuration, and the base of every object that is handed to the host.
//
// Failures are exceptions with fixed messages; a host's result code stands in them in decimal. Objects for the host
// turn exceptions into result codes themselves. Any thread may call it between TVEXAAPIWrappers::Initialize and
// Finalize, which belong to the main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Guard.h"
#include "VEXA.Runtime.Log.h"
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

/// Throws EHostError with `format`, its "%d" replaced by the code, when the code is a failure.
void RaiseIfFailed(HResult code, const QString& format = QStringLiteral("%d"));

/// Throws EHostError "Plugin was not initialized" when there is none.
Ref<IVEXACore> HostCore();

/// False when the core is not set or lacks the service.
[[nodiscard]] bool QueryHostService(const Guid& iid, void** service) noexcept;

template <class Service>
Ref<Service> HostService() noexcept {
    Ref<Service> service;
    return QueryHostService(Service::IID, service.PutVoid()) ? service : Ref<Service>();
}

/// Throws EHostError "Cannot create object (%d)".
void CreateHostObject(const Guid& iid, void** object);

template <class Object>
Ref<Object> CreateHostObject() {
    Ref<Object> object;
    CreateHostObject(Object::IID, object.PutVoid());
    return object;
}

// ---- Texts and variants ----

Ref<IVEXAString> ToHostString(const QString& text);
/// An absent string is the empty text.
QString FromHostString(IVEXAString* text);

Variant ToVariant(const QString& text);
Variant ToVariant(std::int32_t value);
Variant ToVariant(std::int64_t value);
Variant ToVariant(double value);
/// Conversions of a variant's value; empty reads as the empty text or 0. Those to numbers throw std::invalid_argument
/// for a text that is no number, or a number that does not fit.
QString VariantToText(const Variant& value);
double VariantToFloat(const Variant& value);
std::int32_t VariantToInt32(const Variant& value);
std::int64_t VariantToInt64(const Variant& value);

/// The text of the user's language for a key such as "Podcasts\Caption"; empty when there is none.
QString LocalizedText(const QString& key);
/// One of the parts that the key's value holds, counted from 0.
QString LocalizedTextPart(const QString& key, int part);
/// `format` with its first "%s" replaced by `value`, in which nothing is taken for a placeholder.
QString FormatText(QString format, const QString& value);

// ---- Property lists ----

/// The default when the list is absent or has no such number.
std::int32_t ReadPropertyInt32(IVEXAPropertyList* list, std::int32_t id, std::int32_t defaultValue = 0) noexcept;
/// Empty when the list is absent or has no such text.
QString ReadPropertyString(IVEXAPropertyList* list, std::int32_t id);
/// The writers throw EHostError: "PropList is nil" without a list, else the code of a list that refuses.
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

/// Whether no pointer that an operation cannot do without is null; where one is, the operation answers E_POINTER.
template <class... Pointers>
constexpr bool AreGiven(const Pointers*... pointers) noexcept {
    return ((pointers != nullptr) && ...);
}

/// Makes the out arguments null, as they have to be on failure; false when one of them is missing.
template <class... Objects>
[[nodiscard]] bool ClearOut(Objects**... out) noexcept {
    ((out ? void(*out = nullptr) : void()), ...);
    return AreGiven(out...);
}

// ---- Objects for the host ----

/// The base of every object that the host may hold. NewObject makes one; while its constructor runs the count is 1, so
/// that a reference taken and dropped there does not destroy it.
class TInterfacedObjectEx : public IUnknown {
public:
    TInterfacedObjectEx(const TInterfacedObjectEx&) = delete;
    TInterfacedObjectEx& operator=(const TInterfacedObjectEx&) = delete;

    HResult QueryInterface(const Guid& iid, void** object) noexcept override;
    std::int32_t AddRef() noexcept override;
    std::int32_t Release() noexcept override;

    /// Destroys the object without a Release. Throws EHostError "Invalid Pointer" while there are references.
    void Free();
    /// Ends construction; NewObject's business.
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

/// Adds interfaces to a class derived from TInterfacedObjectEx: its query answers for them first.
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

/// Runs `body` for a host and turns what it throws into `failure`, logged with `what`. A body without a result is S_OK.
template <class Body>
HResult GuardedCall(const char* what, Body&& body, HResult failure = E_UNEXPECTED) noexcept {
    return GuardedCall(LogPlugin(), what, body, failure);
}

/// An object that the host reads and writes as a property list. The host's operations ask CanProceed first, then call
/// the virtual operation of the same name with Do in front; derived classes override those that they serve.
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
    /// False refuses every operation, with the code to answer.
    virtual bool CanProceed(HResult& code);
    virtual void DoBeginUpdate() {}
    virtual void DoEndUpdate() {}
    // `result` is S_OK at first.
    virtual void DoGetValueAsFloat(std::int32_t propertyID, double& value, HResult& result);
    virtual void DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, HResult& result);
    virtual void DoGetValueAsInt64(std::int32_t propertyID, std::int64_t& value, HResult& result);
    /// Null: there is no such object.
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

/// A TVEXAPropertyList that is also Interface, one that extends the host's property list without operations of its own.
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

/// Where the toolkit finds a resource of this module, for instance ("MENUGLYPH", "PNG").
QString ResourcePath(const QString& name, const QString& type);

/// A stream of ours as a stream of the host's.
class TVEXAStreamAdapter : public Implements<TInterfacedObjectEx, IVEXAStream> {
public:
    enum class Ownership { Borrowed, Owned };

    /// Adapts `source`, which an owning adapter frees. Throws EStreamError "Unsupported stream class" when this class
    /// of adapter does not accept it; the source then stays the caller's.
    template <class Adapter = TVEXAStreamAdapter>
    static Ref<Adapter> Create(QIODevice* source, Ownership ownership) {
        Ref<Adapter> adapter = NewObject<Adapter>();
        adapter->Attach(source, ownership);
        return adapter;
    }
    /// A resource of this module. Throws EStreamError when there is none.
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
    /// Bytes read; what it throws becomes −1.
    virtual std::int32_t DoRead(void* buffer, std::uint32_t count);

    QIODevice* FSource = nullptr;

private:
    void Attach(QIODevice* source, Ownership ownership);

    Ownership FOwnership = Ownership::Borrowed;
};

}  // namespace vexa
