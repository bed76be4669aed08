// The library's exception family. Library code throws these by pointer after telling
// the crash recorder (VeskCrashRecorder.h); the catcher owns the object and deletes it.
#pragma once

#include "VeskErrorStatus.h"
#include "XoOsBaseExport.h"

class XOOSBASE_API XoException {
public:
    XoException();
    XoException(const wchar_t* file, int line);
    explicit XoException(XoException* embedded);
    XoException(const wchar_t* file, int line, XoException* embedded);
    // Copies file, line and the handled flag; the embedded exception stays with the source.
    XoException(const XoException& other);
    XoException& operator=(const XoException&) = delete;
    virtual ~XoException();

    virtual const wchar_t* description() const; // "XoException"
    virtual int code() const;                   // 0
    virtual const wchar_t* className() const;   // "XoException"

    bool hasHandled() const { return m_bHandled; }
    void setHasHandled(bool handled) { m_bHandled = handled; }
    bool hasEmbedException() const { return m_pEmbedException != nullptr; }
    XoException* getEmbedException() const { return m_pEmbedException; } // still owned here
    const wchar_t* file() const { return m_pFile; }
    int line() const { return m_nLine; }

private:
    XoException* m_pEmbedException; // owned
    bool m_bHandled;
    const wchar_t* m_pFile; // not owned; never null
    int m_nLine;
};

// An exception whose description is a message it owns a copy of.
class XOOSBASE_API XoExceptionWithMsg : public XoException {
public:
    XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message);
    XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message,
                       XoException* embedded);
    // The copy owns its own copy of the text, so both can be destroyed independently.
    XoExceptionWithMsg(const XoExceptionWithMsg& other);
    XoExceptionWithMsg& operator=(const XoExceptionWithMsg&) = delete;
    ~XoExceptionWithMsg() override;

    const wchar_t* description() const override; // the message

private:
    wchar_t* m_pMessage; // owned
};

// An exception carrying a Vesk::ErrorStatus. Its description,
// "error type: <status>\tmessage:<message>", is made on first use and cached; one
// object is not to be described from two threads at once.
class XOOSBASE_API XoErrorStatus : public XoException {
public:
    explicit XoErrorStatus(Vesk::ErrorStatus errorType);
    XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* message, const wchar_t* file,
                  int line);
    XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* file, int line);
    XoErrorStatus(const XoErrorStatus& other);
    XoErrorStatus& operator=(const XoErrorStatus&) = delete;
    ~XoErrorStatus() override;

    const wchar_t* description() const override;
    Vesk::ErrorStatus errorType() const { return m_eErrorType; }

private:
    const wchar_t* m_pMessage;             // not owned; never null
    mutable wchar_t* m_pCachedDescription; // owned
    Vesk::ErrorStatus m_eErrorType;
};
