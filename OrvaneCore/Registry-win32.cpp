#include "OrvaneCore/Registry.h"

#include <windows.h>

#include <vector>

#include "OrvaneCore/Str.h"

namespace Orvane {

namespace {

const wchar_t* native(const String& text) {
    return reinterpret_cast<const wchar_t*>(text.terminated());
}

class Key {
  public:
    explicit Key(String& path) {
        Str::replaceAll(path, u"/", u"\\");
        // The 64-bit view: a host registered only for 32-bit programs is not one we can start.
        opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, native(path), 0, KEY_READ | KEY_WOW64_64KEY,
                               &handle) == ERROR_SUCCESS;
    }
    ~Key() {
        if (opened)
            RegCloseKey(handle);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    bool read(const String& name, void* data, DWORD& size) const {
        return opened && RegQueryValueExW(handle, native(name), nullptr, nullptr,
                                          static_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
    }

  private:
    HKEY handle = nullptr;
    bool opened = false;
};

}  // namespace

bool readRegistryString(String& keyPath, const String& valueName, String& value) {
    const Key key(keyPath);
    DWORD bytes = 0;
    if (!key.read(valueName, nullptr, bytes))
        return false;
    // One unit more stays zero behind the data, whatever was stored.
    std::vector<char16_t> data(bytes / sizeof(char16_t) + 2, u'\0');
    if (!key.read(valueName, data.data(), bytes))
        return false;
    value = String(std::u16string_view(data.data()));
    return true;
}

bool readRegistryNumber(String& keyPath, const String& valueName, std::uint32_t& value) {
    const Key key(keyPath);
    DWORD bytes = sizeof(value);
    return key.read(valueName, &value, bytes);
}

String registryObstacle() {
    return {};
}

}  // namespace Orvane
