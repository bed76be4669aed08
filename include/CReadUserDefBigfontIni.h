/// \file
/// The reader of the user's list of big fonts, "BIGFONT.INI". The caller supplies it;
/// the library only calls it, under its own lock, when a big-font name is not among the
/// names it knows (XoCharMapper::getCpByBigFont and relatives).
#pragma once

#include <map>
#include <string>

/// The reader of the user's list of big fonts, implemented by the caller. The slot order
/// of the two operations is part of the contract.
class CReadUserDefBigfontIni {
public:
    /// Reads the file at path and adds its pairs of big-font file name and East Asian
    /// index (1 Japanese, 2 Traditional Chinese, 3 Korean, 4 Johab, 5 Simplified
    /// Chinese) to the map. It reports no failure: what it leaves out the library does not
    /// know. An exception it throws reaches the caller of the lookup, and the list then
    /// counts as not read.
    virtual void read(const wchar_t* path, std::map<std::wstring, int>& map) = 0;

    /// Locates fileName and writes its full path into buffer, at most capacity
    /// characters with the terminator; false when there is no such file, and the
    /// library then looks for it again on its next lookup.
    virtual bool find(wchar_t* buffer, int capacity, const wchar_t* fileName) = 0;

protected:
    /// The library never deletes a reader, so the two operations are the only slots. A
    /// derived reader that is deleted through a base of its own declares its own virtual
    /// destructor (or is final).
    ~CReadUserDefBigfontIni() = default;
};
