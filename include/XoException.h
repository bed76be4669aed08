/// \file
/// The library's exception family. Library code throws these by pointer after telling
/// the crash recorder (VeskCrashRecorder.h); the catcher owns the object and deletes it.
#pragma once

#include "VeskErrorStatus.h"
#include "XoOsBaseExport.h"

/// The base of the library's exceptions: a source position, a handled flag and an
/// optional embedded exception that it owns. Library throws carry the file `""` (two
/// quotation marks) and line 0.
class XOOSBASE_API XoException {
public:
    /// No position (file "", line 0) and nothing embedded; cannot fail.
    XoException();
    /// The position; a null file is stored as "". Cannot fail.
    XoException(const wchar_t* file, int line);
    /// No position, taking ownership of embedded (may be null); cannot fail.
    explicit XoException(XoException* embedded);
    /// The position (a null file is stored as ""), taking ownership of embedded (may be
    /// null); cannot fail.
    XoException(const wchar_t* file, int line, XoException* embedded);
    /// Copies file, line and the handled flag; the embedded exception stays with the
    /// source. Cannot fail.
    XoException(const XoException& other);
    XoException& operator=(const XoException&) = delete;
    /// Deletes the embedded exception; cannot fail.
    virtual ~XoException();

    /// The text that describes the exception: "XoException" here. Never null.
    virtual const wchar_t* description() const;
    /// The exception's code: 0 here. Cannot fail.
    virtual int code() const;
    /// The class's name: "XoException" here. Never null.
    virtual const wchar_t* className() const;

    /// Whether a catcher has marked the exception handled; cannot fail.
    bool hasHandled() const { return m_bHandled; }
    /// Marks the exception handled or not; cannot fail.
    void setHasHandled(bool handled) { m_bHandled = handled; }
    /// Whether an exception is embedded; cannot fail.
    bool hasEmbedException() const { return m_pEmbedException != nullptr; }
    /// The embedded exception, still owned here, or null when there is none.
    XoException* getEmbedException() const { return m_pEmbedException; }
    /// The source file given at construction, never null ("" when none was given).
    const wchar_t* file() const { return m_pFile; }
    /// The source line given at construction (0 when none was given); cannot fail.
    int line() const { return m_nLine; }

private:
    XoException* m_pEmbedException; // owned
    bool m_bHandled;
    const wchar_t* m_pFile; // not owned; never null
    int m_nLine;
};

/// An exception whose description is a message it owns a copy of.
class XOOSBASE_API XoExceptionWithMsg : public XoException {
public:
    /// The position and a copy of the message (a null message is taken as ""). Throws
    /// std::bad_alloc when the copy cannot be allocated.
    XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message);
    /// As the three-argument form, also taking ownership of embedded (may be null). Throws
    /// std::bad_alloc when the copy cannot be allocated.
    XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message,
                       XoException* embedded);
    /// The copy owns its own copy of the text, so both can be destroyed independently.
    /// Throws std::bad_alloc when the copy cannot be allocated.
    XoExceptionWithMsg(const XoExceptionWithMsg& other);
    XoExceptionWithMsg& operator=(const XoExceptionWithMsg&) = delete;
    /// Frees the message and deletes the embedded exception; cannot fail.
    ~XoExceptionWithMsg() override;

    /// The message, never null.
    const wchar_t* description() const override;

private:
    wchar_t* m_pMessage; // owned
};

/// An exception carrying a Vesk::ErrorStatus. Its description,
/// `error type: <status>\tmessage:<message>`, is made on first use and cached; one
/// object is not to be described from two threads at once.
class XOOSBASE_API XoErrorStatus : public XoException {
public:
    /// The status, no message and no position; cannot fail.
    explicit XoErrorStatus(Vesk::ErrorStatus errorType);
    /// The status, the message (not copied: it must outlive the exception; null is
    /// taken as "") and the position; cannot fail.
    XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* message, const wchar_t* file,
                  int line);
    /// The status and the position, no message; cannot fail.
    XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* file, int line);
    /// Copies the status, the message pointer and a description already made. Throws
    /// std::bad_alloc when the description cannot be copied.
    XoErrorStatus(const XoErrorStatus& other);
    XoErrorStatus& operator=(const XoErrorStatus&) = delete;
    /// Frees the cached description and deletes the embedded exception; cannot fail.
    ~XoErrorStatus() override;

    /// `error type: <status>\tmessage:<message>`, the status as a decimal number, cut
    /// to 511 characters. Throws std::bad_alloc when the text cannot be allocated the
    /// first time.
    const wchar_t* description() const override;
    /// The status given at construction; cannot fail.
    Vesk::ErrorStatus errorType() const { return m_eErrorType; }

private:
    const wchar_t* m_pMessage;             // not owned; never null
    mutable wchar_t* m_pCachedDescription; // owned
    Vesk::ErrorStatus m_eErrorType;
};
