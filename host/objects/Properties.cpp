#include "Properties.h"

#include "Strings.h"

namespace vexa::host {

QString TextOf(IVEXAPropertyList* object, std::int32_t property) {
    Ref<IVEXAString> text;
    if (!object || Failed(object->GetValueAsObject(property, IVEXAString::IID, text.PutVoid()))) return {};
    return ToQString(text.Get());
}

std::int32_t NumberOf(IVEXAPropertyList* object, std::int32_t property, std::int32_t defaultValue) {
    std::int32_t number = 0;
    return object && Succeeded(object->GetValueAsInt32(property, &number)) ? number : defaultValue;
}

}  // namespace vexa::host
