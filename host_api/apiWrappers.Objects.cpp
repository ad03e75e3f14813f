#include "apiWrappers.h"

#include <QBuffer>
#include <QFile>

#include <limits>

namespace vexa {

HResult TInterfacedObjectEx::QueryInterface(const Guid& iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid != IUnknown::IID) return E_NOINTERFACE;
    *object = static_cast<IUnknown*>(this);
    AddRef();
    return S_OK;
}

std::int32_t TInterfacedObjectEx::AddRef() noexcept {
    return ++FRefCount;
}

std::int32_t TInterfacedObjectEx::Release() noexcept {
    const std::int32_t count = --FRefCount;
    if (count == 0) delete this;
    return count;
}

void TInterfacedObjectEx::Free() {
    if (FRefCount != 0) throw EHostError(QStringLiteral("Invalid Pointer"));
    delete this;
}

void TInterfacedObjectEx::AfterConstruction() noexcept {
    --FRefCount;
}

// ---- TVEXAPropertyList ----

template <class Operation>
HResult TVEXAPropertyList::Serve(const char* what, Operation operation) noexcept {
    return GuardedCall(what, [&] {
        HResult result = S_OK;
        if (!CanProceed(result)) return result;
        result = S_OK;
        operation(result);
        return result;
    });
}

void TVEXAPropertyList::BeginUpdate() noexcept {
    Serve("beginning an update", [this](HResult&) { DoBeginUpdate(); });
}

void TVEXAPropertyList::EndUpdate() noexcept {
    Serve("ending an update", [this](HResult&) { DoEndUpdate(); });
}

HResult TVEXAPropertyList::Reset() noexcept {
    return Serve("resetting properties", [this](HResult& result) { DoReset(result); });
}

HResult TVEXAPropertyList::GetValueAsFloat(std::int32_t propertyID, double* value) noexcept {
    if (!AreGiven(value)) return E_POINTER;
    return Serve("reading a property", [&](HResult& result) { DoGetValueAsFloat(propertyID, *value, result); });
}

HResult TVEXAPropertyList::GetValueAsInt32(std::int32_t propertyID, std::int32_t* value) noexcept {
    if (!AreGiven(value)) return E_POINTER;
    return Serve("reading a property", [&](HResult& result) { DoGetValueAsInt32(propertyID, *value, result); });
}

HResult TVEXAPropertyList::GetValueAsInt64(std::int32_t propertyID, std::int64_t* value) noexcept {
    if (!AreGiven(value)) return E_POINTER;
    return Serve("reading a property", [&](HResult& result) { DoGetValueAsInt64(propertyID, *value, result); });
}

HResult TVEXAPropertyList::GetValueAsObject(std::int32_t propertyID, const Guid& iid, void** value) noexcept {
    if (!ClearOut(value)) return E_POINTER;
    return Serve("reading a property", [&](HResult& result) {
        const Ref<IUnknown> object = DoGetValueAsObject(propertyID);
        result = object ? object->QueryInterface(iid, value) : E_INVALIDARG;
    });
}

HResult TVEXAPropertyList::GetValueAsVariant(std::int32_t propertyID, Variant* value) noexcept {
    if (!AreGiven(value)) return E_POINTER;
    return Serve("reading a property", [&](HResult& result) { DoGetValueAsVariant(propertyID, *value, result); });
}

HResult TVEXAPropertyList::SetValueAsFloat(std::int32_t propertyID, double value) noexcept {
    return Serve("writing a property", [&](HResult& result) { DoSetValueAsFloat(propertyID, value, result); });
}

HResult TVEXAPropertyList::SetValueAsInt32(std::int32_t propertyID, std::int32_t value) noexcept {
    return Serve("writing a property", [&](HResult& result) { DoSetValueAsInt32(propertyID, value, result); });
}

HResult TVEXAPropertyList::SetValueAsInt64(std::int32_t propertyID, std::int64_t value) noexcept {
    return Serve("writing a property", [&](HResult& result) { DoSetValueAsInt64(propertyID, value, result); });
}

HResult TVEXAPropertyList::SetValueAsObject(std::int32_t propertyID, IUnknown* value) noexcept {
    return Serve("writing a property", [&](HResult& result) { DoSetValueAsObject(propertyID, value, result); });
}

HResult TVEXAPropertyList::SetValueAsVariant(std::int32_t propertyID, const Variant* value) noexcept {
    if (!AreGiven(value)) return E_POINTER;
    return Serve("writing a property", [&](HResult& result) { DoSetValueAsVariant(propertyID, *value, result); });
}

bool TVEXAPropertyList::CanProceed(HResult&) {
    return true;
}

void TVEXAPropertyList::DoGetValueAsFloat(std::int32_t propertyID, double& value, HResult& result) {
    Variant variant;
    DoGetValueAsVariant(propertyID, variant, result);
    value = VariantToFloat(variant);
}

void TVEXAPropertyList::DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, HResult& result) {
    Variant variant;
    DoGetValueAsVariant(propertyID, variant, result);
    value = VariantToInt32(variant);
}

void TVEXAPropertyList::DoGetValueAsInt64(std::int32_t propertyID, std::int64_t& value, HResult& result) {
    Variant variant;
    DoGetValueAsVariant(propertyID, variant, result);
    value = VariantToInt64(variant);
}

Ref<IUnknown> TVEXAPropertyList::DoGetValueAsObject(std::int32_t propertyID) {
    if (propertyID == kCustomObject) return FCustomObject;
    Variant variant;
    HResult result = S_OK;
    DoGetValueAsVariant(propertyID, variant, result);
    if (Failed(result)) return nullptr;
    return ToHostString(VariantToText(variant));
}

void TVEXAPropertyList::DoGetValueAsVariant(std::int32_t, Variant& value, HResult& result) {
    value = {};
    result = E_NOTIMPL;
}

void TVEXAPropertyList::DoSetValueAsFloat(std::int32_t propertyID, double value, HResult& result) {
    DoSetValueAsVariant(propertyID, ToVariant(value), result);
}

void TVEXAPropertyList::DoSetValueAsInt32(std::int32_t propertyID, std::int32_t value, HResult& result) {
    DoSetValueAsVariant(propertyID, ToVariant(value), result);
}

void TVEXAPropertyList::DoSetValueAsInt64(std::int32_t propertyID, std::int64_t value, HResult& result) {
    DoSetValueAsVariant(propertyID, ToVariant(value), result);
}

void TVEXAPropertyList::DoSetValueAsObject(std::int32_t propertyID, IUnknown* value, HResult& result) {
    if (propertyID == kCustomObject) {
        FCustomObject = value;
    } else if (const auto text = Query<IVEXAString>(value)) {
        DoSetValueAsVariant(propertyID, ToVariant(FromHostString(text.Get())), result);
    } else {
        result = E_NOTIMPL;
    }
}

void TVEXAPropertyList::DoSetValueAsVariant(std::int32_t, const Variant&, HResult& result) {
    result = E_NOTIMPL;
}

void TVEXAPropertyList::DoReset(HResult& result) {
    result = E_NOTIMPL;
}

// ---- TVEXAStreamAdapter ----

QString ResourcePath(const QString& name, const QString& type) {
    return u":/" + type + u'/' + name;
}

void TVEXAStreamAdapter::Attach(QIODevice* source, Ownership ownership) {
    if (!source || !Accepts(*source)) throw EStreamError(QStringLiteral("Unsupported stream class"));
    FSource = source;
    FOwnership = ownership;
}

TVEXAStreamAdapter::~TVEXAStreamAdapter() {
    if (FOwnership == Ownership::Owned) delete FSource;
}

bool TVEXAStreamAdapter::ResourceExists(const QString& name, const QString& type) {
    return QFile::exists(ResourcePath(name, type));
}

Ref<TVEXAStreamAdapter> TVEXAStreamAdapter::CreateFromResource(const QString& name, const QString& type) {
    auto file = std::make_unique<QFile>(ResourcePath(name, type));
    if (!file->open(QIODevice::ReadOnly)) throw EStreamError(u"There is no resource " + name + u" of type " + type);
    auto adapter = Create(file.get(), Ownership::Owned);
    static_cast<void>(file.release());  // the adapter owns it now
    return adapter;
}

std::int64_t TVEXAStreamAdapter::GetSize() noexcept {
    return FSource->size();
}

HResult TVEXAStreamAdapter::SetSize(std::int64_t size) noexcept {
    return GuardedCall("resizing a stream", [&] {
        if (auto* file = qobject_cast<QFileDevice*>(FSource)) {
            if (!file->resize(size)) throw EStreamError(file->errorString());
        } else if (auto* buffer = qobject_cast<QBuffer*>(FSource)) {
            if (size < 0 || !buffer->isWritable()) throw EStreamError(QStringLiteral("The buffer keeps its size"));
            buffer->buffer().resize(size, '\0');
        } else {
            throw EStreamError(QStringLiteral("The stream has no size that can be set"));
        }
    });
}

std::int64_t TVEXAStreamAdapter::GetPosition() noexcept {
    return FSource->pos();
}

HResult TVEXAStreamAdapter::Seek(std::int64_t offset, std::int32_t mode) noexcept {
    return GuardedCall("seeking in a stream", [&] {
        std::int64_t base = 0;
        switch (mode) {
            case FromBeginning:
                break;
            case FromCurrent:
                base = FSource->pos();
                break;
            case FromEnd:
                base = FSource->size();
                break;
            default:
                return E_INVALIDARG;
        }
        std::int64_t position = 0;
        if (__builtin_add_overflow(base, offset, &position))
            throw EStreamError(QStringLiteral("The offset is too far"));
        FSource->seek(position);
        return FSource->pos() == offset ? S_OK : E_FAIL;
    });
}

std::int32_t TVEXAStreamAdapter::Read(void* buffer, std::uint32_t count) noexcept {
    if (count > 0 && !AreGiven(buffer)) return -1;
    std::int32_t result = -1;
    GuardedCall("reading a stream", [&] { result = DoRead(buffer, count); });
    return result;
}

std::int32_t TVEXAStreamAdapter::DoRead(void* buffer, std::uint32_t count) {
    const auto most = std::min<std::uint32_t>(count, std::numeric_limits<std::int32_t>::max());
    const qint64 read = FSource->read(static_cast<char*>(buffer), most);
    if (read < 0) throw EStreamError(FSource->errorString());
    return static_cast<std::int32_t>(read);
}

HResult TVEXAStreamAdapter::Write(const void* buffer, std::uint32_t count, std::uint32_t* written) noexcept {
    if (written) *written = 0;
    if (count > 0 && !AreGiven(buffer)) return E_POINTER;
    return GuardedCall("writing a stream", [&] {
        const qint64 result = FSource->write(static_cast<const char*>(buffer), count);
        if (result < 0) throw EStreamError(FSource->errorString());
        if (written) *written = static_cast<std::uint32_t>(result);
    });
}

}  // namespace vexa
