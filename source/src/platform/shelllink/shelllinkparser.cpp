#include "platform/shelllink/shelllinkparser.h"

#include <cstdint>
#include <cstring>

#include "platform/codepage.h"

namespace xo::platform {

namespace {

constexpr std::uint32_t kHeaderSize = 0x4C;
// {00021401-0000-0000-C000-000000000046}, as stored.
constexpr unsigned char kLinkClsid[16] = {0x01, 0x14, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                                          0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};
constexpr std::uint32_t kHasIdList = 0x1;
constexpr std::uint32_t kHasLinkInfo = 0x2;
constexpr std::uint32_t kForceNoLinkInfo = 0x100;
constexpr std::uint32_t kVolumeIdAndLocalBasePath = 0x1;
constexpr std::uint32_t kCommonNetworkRelativeLink = 0x2;
constexpr std::uint32_t kLinkInfoUnicodeHeader = 0x24;
constexpr std::uint32_t kNetworkLinkUnicodeOffsets = 0x14;
// ID list items: the computer, drives ("C:\\" in ANSI at offset 3), folders and files
// (the short name in ANSI at offset 14, then the extension block with the long name).
constexpr std::uint32_t kComputerItem = 0x1F;
constexpr std::uint32_t kDriveItems = 0x20;
constexpr std::uint32_t kFileItems = 0x30;
constexpr std::size_t kShortNameOffset = 14;
constexpr std::uint32_t kExtensionSignature = 0xBEEF0004u;
constexpr std::size_t kExtensionNameV3 = 0x14;
constexpr std::size_t kExtensionNameV7 = 0x26;
constexpr std::size_t kExtensionNameV8 = 0x2A;
constexpr std::size_t kExtensionNameV9 = 0x2E;

// A bounded view of the bytes: every read is checked, none runs past the end.
class Bytes {
public:
    Bytes(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}

    bool u16(std::size_t at, std::uint32_t* value) const {
        if (at > size_ || size_ - at < 2)
            return false;
        *value = std::uint32_t(data_[at]) | std::uint32_t(data_[at + 1]) << 8;
        return true;
    }
    bool u32(std::size_t at, std::uint32_t* value) const {
        if (at > size_ || size_ - at < 4)
            return false;
        *value = std::uint32_t(data_[at]) | std::uint32_t(data_[at + 1]) << 8 |
                 std::uint32_t(data_[at + 2]) << 16 | std::uint32_t(data_[at + 3]) << 24;
        return true;
    }
    // A zero-terminated string in the system's ANSI code page, ending inside the view.
    bool ansi(std::size_t at, std::wstring* out) const {
        if (at >= size_)
            return false;
        const void* end = std::memchr(data_ + at, 0, size_ - at);
        if (end == nullptr)
            return false;
        const int length = int(static_cast<const unsigned char*>(end) - (data_ + at));
        out->clear();
        if (length == 0)
            return true;
        const char* text = reinterpret_cast<const char*>(data_ + at);
        const int units = multiByteToWideChar(0, 0, text, length, nullptr, 0);
        if (units <= 0)
            return false;
        out->resize(std::size_t(units));
        return multiByteToWideChar(0, 0, text, length, out->data(), units) == units;
    }
    // A zero-terminated UTF-16LE string ending inside the view.
    bool unicode(std::size_t at, std::wstring* out) const {
        out->clear();
        for (std::uint32_t unit = 0;; at += 2) {
            if (!u16(at, &unit))
                return false;
            if (unit == 0)
                return true;
            out->push_back(wchar_t(unit));
        }
    }
    // The part [at, at + length) as a view of its own.
    bool sub(std::size_t at, std::size_t length, Bytes* out) const {
        if (at > size_ || size_ - at < length)
            return false;
        *out = Bytes(data_ + at, length);
        return true;
    }

private:
    const unsigned char* data_;
    std::size_t size_;
};

// A string at an offset of its structure: UTF-16 when the structure has the Unicode
// offset, else the ANSI one.
bool stringAt(const Bytes& info, std::uint32_t ansiOffset, std::uint32_t unicodeOffset,
              bool hasUnicode, std::wstring* out) {
    if (hasUnicode && unicodeOffset != 0)
        return info.unicode(unicodeOffset, out);
    return info.ansi(ansiOffset, out);
}

bool networkPath(const Bytes& info, std::uint32_t offset, std::wstring* out) {
    std::uint32_t size = 0, netNameOffset = 0, netNameUnicode = 0;
    Bytes link(nullptr, 0);
    if (!info.u32(offset, &size) || size < kNetworkLinkUnicodeOffsets ||
        !info.sub(offset, size, &link) || !link.u32(8, &netNameOffset))
        return false;
    const bool hasUnicode = netNameOffset > kNetworkLinkUnicodeOffsets;
    if (hasUnicode && !link.u32(20, &netNameUnicode))
        return false;
    return stringAt(link, netNameOffset, netNameUnicode, hasUnicode, out);
}

bool linkInfoTarget(const Bytes& info, std::wstring* target) {
    std::uint32_t headerSize = 0, flags = 0, localOffset = 0, networkOffset = 0, suffixOffset = 0,
                  localUnicode = 0, suffixUnicode = 0;
    if (!info.u32(4, &headerSize) || !info.u32(8, &flags) || !info.u32(16, &localOffset) ||
        !info.u32(20, &networkOffset) || !info.u32(24, &suffixOffset) || headerSize < 0x1C)
        return false;
    const bool hasUnicode = headerSize >= kLinkInfoUnicodeHeader;
    if (hasUnicode && (!info.u32(28, &localUnicode) || !info.u32(32, &suffixUnicode)))
        return false;
    std::wstring base, suffix;
    if ((flags & kVolumeIdAndLocalBasePath) != 0) {
        if (!stringAt(info, localOffset, localUnicode, hasUnicode, &base))
            return false;
    } else if ((flags & kCommonNetworkRelativeLink) != 0) {
        if (!networkPath(info, networkOffset, &base))
            return false;
    } else {
        return false;
    }
    if (!stringAt(info, suffixOffset, suffixUnicode, hasUnicode, &suffix))
        suffix.clear();
    if (base.empty())
        return false;
    if (!suffix.empty() && base.back() != L'\\')
        base += L'\\';
    base += suffix;
    target->swap(base);
    return true;
}

// The long name in a file item's extension block (0xBEEF0004). Windows stores the
// name's offset by version; Wine writes the oldest layout with the version and the
// signature left zero, without aligning the block.
bool longNameOf(const Bytes& item, std::size_t afterShortName, std::wstring* name) {
    for (std::size_t at = afterShortName; at <= afterShortName + 1; ++at) {
        std::uint32_t size = 0, version = 0, signature = 0;
        Bytes block(nullptr, 0);
        if (!item.u16(at, &size) || size < kExtensionNameV3 + 2 || !item.sub(at, size, &block) ||
            !block.u16(2, &version) || !block.u32(4, &signature))
            continue;
        std::size_t offset = 0;
        if (signature == kExtensionSignature)
            offset = version >= 9   ? kExtensionNameV9
                     : version >= 8 ? kExtensionNameV8
                     : version >= 7 ? kExtensionNameV7
                     : version >= 3 ? kExtensionNameV3
                                    : 0;
        else if (signature == 0 && version == 0)
            offset = kExtensionNameV3;
        if (offset != 0 && block.unicode(offset, name) && !name->empty())
            return true;
    }
    return false;
}

// The path of an ID list made of the computer, a drive and file-system items; false for
// anything else (a network place, a special folder), which the link information tells.
bool idListTarget(const Bytes& list, std::wstring* target) {
    std::wstring path;
    bool sawDrive = false;
    for (std::size_t at = 0;;) {
        std::uint32_t size = 0, type = 0;
        if (!list.u16(at, &size))
            return false;
        if (size == 0)
            break;
        Bytes item(nullptr, 0);
        if (size < 3 || !list.sub(at, size, &item) || !item.u16(2, &type))
            return false;
        type &= 0xFF;
        std::wstring name;
        if (type == kComputerItem) {
            // the root: nothing of the path
        } else if ((type & 0x70) == kDriveItems) {
            if (sawDrive || !item.ansi(3, &name) || name.empty())
                return false;
            path = name;
            sawDrive = true;
        } else if ((type & 0x70) == kFileItems && sawDrive) {
            std::wstring shortName;
            if (!item.ansi(kShortNameOffset, &shortName))
                return false;
            if (!longNameOf(item, kShortNameOffset + shortName.size() + 1, &name))
                name = shortName;
            if (!path.empty() && path.back() != L'\\')
                path += L'\\';
            path += name;
        } else {
            return false;
        }
        at += size;
    }
    if (!sawDrive)
        return false;
    target->swap(path);
    return true;
}

} // namespace

bool parseShellLinkTarget(const unsigned char* data, std::size_t size, std::wstring& target) {
    const Bytes bytes(data, size);
    std::uint32_t headerSize = 0, flags = 0;
    if (!bytes.u32(0, &headerSize) || headerSize != kHeaderSize || size < kHeaderSize ||
        std::memcmp(data + 4, kLinkClsid, sizeof kLinkClsid) != 0 || !bytes.u32(20, &flags))
        return false;
    std::size_t at = kHeaderSize;
    if ((flags & kHasIdList) != 0) {
        std::uint32_t idListSize = 0;
        Bytes list(nullptr, 0);
        if (!bytes.u16(at, &idListSize) || !bytes.sub(at + 2, idListSize, &list))
            return false;
        // The list holds the names in UTF-16; the link information may hold them in the
        // ANSI code page only (Wine writes no Unicode there).
        if (idListTarget(list, &target))
            return true;
        at += 2 + idListSize;
    }
    if ((flags & kHasLinkInfo) == 0 || (flags & kForceNoLinkInfo) != 0)
        return false;
    std::uint32_t infoSize = 0;
    Bytes info(nullptr, 0);
    if (!bytes.u32(at, &infoSize) || infoSize < 0x1C || !bytes.sub(at, infoSize, &info))
        return false;
    return linkInfoTarget(info, &target);
}

} // namespace xo::platform
