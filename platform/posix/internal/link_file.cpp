#include "internal/link_file.h"

#include <array>
#include <cstdint>

#include "internal/encoding.h"

namespace compat {
namespace {

constexpr uint32_t kHeaderSize = 0x4C;
constexpr std::string_view kLinkClass(
    "\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
constexpr size_t kFlagsOffset = 20;

enum LinkFlags : uint32_t {
    kHasItemList = 0x1,
    kHasLinkInfo = 0x2,
    kIsUnicode = 0x80,
    kHasEnvironmentPath = 0x200,
};
constexpr std::array<uint32_t, 5> kStringFlags = {0x4, 0x8, 0x10, 0x20, 0x40};

constexpr uint32_t kEnvironmentBlock = 0xA0000001;
constexpr size_t kEnvironmentLength = 260;
constexpr uint32_t kLongNameBlock = 0xBEEF0004;

// The bytes of a file or of a part of it. A number that is not entirely inside reads as 0, a part
// beyond the end as empty, and a part across the end is cut.
class Bytes {
  public:
    explicit Bytes(std::string_view bytes) noexcept : bytes_(bytes) {}

    size_t Size() const noexcept { return bytes_.size(); }
    uint32_t Word(size_t at) const noexcept { return Number(at, 2); }
    uint32_t Long(size_t at) const noexcept { return Number(at, 4); }
    uint32_t Byte(size_t at) const noexcept { return Number(at, 1); }

    std::string_view Part(size_t at, size_t size) const noexcept {
        return at <= bytes_.size() ? bytes_.substr(at, size) : std::string_view();
    }

    // Text up to a null, `most` characters or the end.
    std::wstring Narrow(size_t at, size_t most = SIZE_MAX) const {
        std::wstring text;
        for (const char byte : Part(at, most)) {
            if (byte == '\0') {
                break;
            }
            text.push_back(FromWindows1252(static_cast<unsigned char>(byte)));
        }
        return text;
    }
    std::wstring Wide(size_t at, size_t most = SIZE_MAX) const {
        std::wstring text;
        for (; text.size() < most && Word(at) != 0; at += 2) {
            text.push_back(static_cast<wchar_t>(Word(at)));
        }
        return text;
    }

  private:
    uint32_t Number(size_t at, size_t size) const noexcept {
        uint32_t number = 0;
        if (at <= bytes_.size() && bytes_.size() - at >= size) {
            for (size_t byte = 0; byte < size; ++byte) {
                number |= uint32_t{static_cast<unsigned char>(bytes_[at + byte])} << (8 * byte);
            }
        }
        return number;
    }

    std::string_view bytes_;
};

std::wstring JoinParts(std::wstring path, const std::wstring& part) {
    if (!path.empty() && !part.empty() && path.back() != L'\\') {
        path.push_back(L'\\');
    }
    return path + part;
}

// Returns the offset of the long name in the block that follows a file item's short name. 0 if the
// block is of another kind. Wine writes the block without a signature.
size_t LongNameOffset(const Bytes& item, size_t block) {
    constexpr size_t kPlain = 20;
    if (item.Long(block + 4) == 0) {
        return kPlain;
    }
    const uint32_t version = item.Word(block + 2);
    if (item.Long(block + 4) != kLongNameBlock || version < 3) {
        return 0;
    }
    constexpr size_t kWithFileReference = 38;
    size_t offset = version >= 7 ? kWithFileReference : kPlain;
    offset += version >= 8 ? 4 : 0;
    offset += version >= 9 ? 4 : 0;
    return offset;
}

// Returns the name of a file or folder in the item list: the long one, else the short one.
std::wstring FileItemName(const Bytes& item) {
    constexpr size_t kShortName = 14;
    const size_t block = item.Word(item.Size() - 2);
    const size_t offset = block > kShortName ? LongNameOffset(item, block) : 0;
    if (std::wstring name = offset == 0 ? L"" : item.Wide(block + offset); !name.empty()) {
        return name;
    }
    constexpr uint32_t kWideName = 0x4;
    return (item.Byte(2) & kWideName) != 0 ? item.Wide(kShortName) : item.Narrow(kShortName);
}

// Returns the path that an item list names: a drive and the names below it. Empty if an item is not
// in the file system.
std::wstring ItemListPath(Bytes list) {
    std::wstring path;
    size_t at = 0;
    while (const size_t size = list.Word(at)) {
        const Bytes item(list.Part(at, size));
        if (size < 3 || item.Size() < size) {
            return {};
        }
        constexpr uint32_t kNamespaceItem = 0x2E;  // for example the control panel
        switch (item.Byte(2) & 0x70) {
            case 0x10:  // an item of the desktop, such as "my computer"
                break;
            case 0x20:
                if (item.Byte(2) == kNamespaceItem) {
                    return {};
                }
                path = item.Narrow(3);
                break;
            case 0x30:
                path = JoinParts(path, FileItemName(item));
                break;
            default:
                return {};
        }
        at += size;
    }
    return path.size() >= 2 && path[1] == L':' ? path : std::wstring();
}

std::wstring LinkInfoPath(const Bytes& info) {
    constexpr uint32_t kHasLocalPath = 1;
    constexpr uint32_t kHasNetworkPath = 2;
    constexpr uint32_t kWithWideOffsets = 0x24;
    const bool wide = info.Long(4) >= kWithWideOffsets;
    const std::wstring suffix =
        wide && info.Long(32) != 0 ? info.Wide(info.Long(32)) : info.Narrow(info.Long(24));
    const uint32_t flags = info.Long(8);
    if ((flags & kHasLocalPath) != 0) {
        const std::wstring base =
            wide && info.Long(28) != 0 ? info.Wide(info.Long(28)) : info.Narrow(info.Long(16));
        return JoinParts(base, suffix);
    }
    if ((flags & kHasNetworkPath) != 0) {
        const size_t share = info.Long(20);
        return JoinParts(info.Narrow(share + info.Long(share + 8)), suffix);
    }
    return {};
}

std::wstring EnvironmentPath(const Bytes& file, size_t at) {
    while (file.Long(at) >= 8) {
        if (file.Long(at + 4) == kEnvironmentBlock) {
            std::wstring path = file.Wide(at + 8 + kEnvironmentLength, kEnvironmentLength);
            return path.empty() ? file.Narrow(at + 8, kEnvironmentLength) : path;
        }
        at += file.Long(at);
    }
    return {};
}

}  // namespace

std::optional<LinkTarget> ReadLinkFile(std::string_view bytes) {
    const Bytes file(bytes);
    if (file.Long(0) != kHeaderSize || file.Part(4, kLinkClass.size()) != kLinkClass ||
        file.Size() < kHeaderSize) {
        return std::nullopt;
    }
    const uint32_t flags = file.Long(kFlagsOffset);
    size_t at = kHeaderSize;
    LinkTarget target;
    if ((flags & kHasItemList) != 0) {
        target.path = ItemListPath(Bytes(file.Part(at + 2, file.Word(at))));
        at += 2 + file.Word(at);
    }
    if ((flags & kHasLinkInfo) != 0) {
        if (target.path.empty()) {
            target.path = LinkInfoPath(Bytes(file.Part(at, file.Long(at))));
        }
        at += file.Long(at);
    }
    for (const uint32_t flag : kStringFlags) {
        if ((flags & flag) != 0) {
            at += 2 + size_t{file.Word(at)} * ((flags & kIsUnicode) != 0 ? 2 : 1);
        }
    }
    if (at > file.Size()) {
        return std::nullopt;
    }
    if ((flags & kHasEnvironmentPath) != 0) {
        target.rawPath = EnvironmentPath(file, at);
    }
    return target;
}

}  // namespace compat
