/// \file
/// XoPathMaker: checks wide paths and takes them apart, as the Windows runtime's
/// _wsplitpath_s does: the drive is the first two characters when the second is a colon;
/// the directory runs from there through the last `\` or `/` and keeps that separator;
/// the extension runs from the last dot after the directory and keeps the dot; the name
/// lies between. Only getAbsolutePath looks at the file system.
///
/// Buffer sizes count wide characters including the terminator. A split that fails (a
/// wanted component does not fit its buffer) leaves every buffer it was given empty. The
/// fixed sizes: the drive 64, the extension of getExtFileName 8 (a dot and up to six
/// characters), every other buffer 260.
///
/// On Linux a path is the UTF-16 form of a POSIX path, one code unit per wchar_t, as
/// everywhere in the library. Splitting is the same text rule on both targets, so there a
/// `\` separates too and `x:` at the start is taken as a drive. getAbsolutePath joins a
/// relative path to the current directory and folds `.` and `..` by name alone (symbolic
/// links are not resolved); it separates at `/` only, since `\` is an ordinary character
/// in a POSIX name, and keeps a trailing `/`. Windows also trims trailing dots and spaces
/// from names there; POSIX does not.
#pragma once

#include "XoOsBaseExport.h"

/// Checks and splits of wide paths; only a scope for static members. Output buffers
/// are not checked for null: each member writes into out (an empty text at least)
/// unless it says otherwise.
class XOOSBASE_API XoPathMaker {
public:
    /// Whether path is plausible as a local path: not null or empty, none of `" * < > ? |`,
    /// a colon only as the second character, and no separator doubled (so no network
    /// path `\\server\share`). Nothing else is checked; false is the only failure.
    static bool isValidPath(const wchar_t* path);

    /// The absolute form of path (no longer than 259 characters), copied into out only
    /// when out is not null and size exceeds its length. Returns its length + 1 (the size
    /// needed), so a call with a null out asks for the size; 0 for a null or empty path or
    /// when no absolute form can be made, out then left as it was.
    static int getAbsolutePath(wchar_t* out, unsigned size, const wchar_t* path);

    /// The drive (`C:` or empty) into out (64). Returns its length; 0 (out empty) for a
    /// null path or a failed split.
    static int getDriverName(wchar_t* out, const wchar_t* path);

    /// The directory without the drive into out (260): `\a\` for `C:\a\b.txt`. Returns
    /// its length; 0 (out empty) for a null path or a failed split.
    static int getParentDir(wchar_t* out, const wchar_t* path);

    /// The extension with its dot into out (8). Returns its length; 0 (out empty) for a
    /// null path or an extension longer than seven characters with the dot.
    static int getExtFileName(wchar_t* out, const wchar_t* path);

    /// The file name without extension into out (260). When extPos is not null it gets
    /// the last dot anywhere in path, even in a directory name, or null. False (out
    /// empty) for a null or empty path or a failed split.
    static bool getFileName(const wchar_t* path, wchar_t* out, const wchar_t** extPos);

    /// The file name with its extension into out (260); empty when they do not fit
    /// together. False (out empty) for a null or empty path or a failed split.
    static bool getFullFileName(const wchar_t* path, wchar_t* out);

    /// Splits into the given buffers; each may be null with size 0. False for a null or
    /// empty path (buffers untouched), inconsistent buffer arguments or a failed split
    /// (every buffer given left empty).
    static bool splitPath(const wchar_t* path, wchar_t* drive, unsigned driveSize, wchar_t* dir,
                          unsigned dirSize, wchar_t* name, unsigned nameSize, wchar_t* ext,
                          unsigned extSize);

    /// Drive and directory (`C:\a\` for `C:\a\b.txt`) into out of size characters; they
    /// need room for the terminator as well. Out of room: out empty and false. False for
    /// a null or empty path or a size of 0, writing nothing.
    static bool getFileDir(const wchar_t* path, wchar_t* out, unsigned size);

    /// Copies nothing, the class having no state; cannot fail.
    XoPathMaker& operator=(const XoPathMaker&) = default;
    /// Moves nothing, the class having no state; cannot fail.
    XoPathMaker& operator=(XoPathMaker&&) = default;
};
