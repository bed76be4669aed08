#include "platform/pathsplit/pathsplitter.h"

namespace xo::pathsplit {

namespace {

struct Span {
    const wchar_t* begin;
    std::size_t length;
};

struct Target {
    wchar_t* buffer;
    std::size_t size;
};

constexpr int kComponents = 4; // drive, directory, name, extension

bool isSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

std::size_t driveLength(const wchar_t* path) {
    return path[0] != 0 && path[1] == L':' ? 2 : 0;
}

// The four components in order; rest is what follows the drive.
void locate(const wchar_t* path, Span (&parts)[kComponents]) {
    const wchar_t* rest = path + driveLength(path);
    const wchar_t* nameStart = rest;
    const wchar_t* lastDot = nullptr;
    const wchar_t* end = rest;
    for (; *end; ++end) {
        if (isSeparator(*end)) {
            nameStart = end + 1;
            lastDot = nullptr;
        } else if (*end == L'.') {
            lastDot = end;
        }
    }
    const wchar_t* extStart = lastDot ? lastDot : end;
    parts[0] = {path, std::size_t(rest - path)};
    parts[1] = {rest, std::size_t(nameStart - rest)};
    parts[2] = {nameStart, std::size_t(extStart - nameStart)};
    parts[3] = {extStart, std::size_t(end - extStart)};
}

bool consistent(const Target& target) {
    return (target.buffer == nullptr) == (target.size == 0);
}

bool fits(const Target& target, const Span& part) {
    return target.buffer == nullptr || part.length < target.size;
}

void store(const Target& target, const Span& part) {
    if (target.buffer == nullptr)
        return;
    for (std::size_t i = 0; i < part.length; ++i)
        target.buffer[i] = part.begin[i];
    target.buffer[part.length] = 0;
}

void emptyAll(const Target (&targets)[kComponents]) {
    for (const Target& target : targets)
        if (target.buffer)
            target.buffer[0] = 0;
}

int splitInto(const wchar_t* path, const Target (&targets)[kComponents]) {
    Span parts[kComponents];
    locate(path, parts);
    for (int i = 0; i < kComponents; ++i) {
        if (!fits(targets[i], parts[i])) {
            emptyAll(targets);
            return kSplitNoRoom;
        }
    }
    for (int i = 0; i < kComponents; ++i)
        store(targets[i], parts[i]);
    return kSplitDone;
}

} // namespace

int split(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
          std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
          std::size_t extSize) {
    const Target targets[kComponents] = {
        {drive, driveSize}, {dir, dirSize}, {name, nameSize}, {ext, extSize}};
    if (path == nullptr)
        return kSplitBadArgument;
    for (const Target& target : targets)
        if (!consistent(target))
            return kSplitBadArgument;
    return splitInto(path, targets);
}

void splitUnchecked(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* name,
                    wchar_t* ext) {
    split(path, drive, drive ? kDriveRoom : 0, dir, dir ? kDirRoom : 0, name, name ? kNameRoom : 0,
          ext, ext ? kExtRoom : 0);
}

} // namespace xo::pathsplit
