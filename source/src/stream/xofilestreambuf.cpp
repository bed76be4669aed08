#include "XoFileStreamBuf.h"

XoFileStreamBuf::XoFileStreamBuf() = default;
XoFileStreamBuf::~XoFileStreamBuf() = default;
