#include "KrStringEx.h"

namespace KRN {

namespace {
struct Resource {
    const wchar_t* id;
    const wchar_t* text;
};
// The resource texts the theme module asks for
const Resource kResources[] = {
    {L"EGg040", L"%s: the theme document could not be read."},
    {L"EGg041", L"%s: the theme document could not be written."},
    {L"EEe007", L"The value cannot be converted to a number."},
    {L"EGi055", L"No range item was found for the value."},
    {L"EGi063", L"The number format is not valid."},
    {L"EGi067", L"No external value was found for the key."},
    {L"EGi069", L"No external value was found for the number."},
    {L"IMl003", L"Arial"},
};
} // namespace

bool KrStringEx::LoadResString(const BSX::BsxUnicodeString& id)
{
    for (const Resource& r : kResources) {
        if (id == r.id) {
            static_cast<BSX::BsxUnicodeString&>(*this) = r.text;
            return true;
        }
    }
    Empty();
    return false;
}

} // namespace KRN
