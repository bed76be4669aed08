#include "XoHeapDbgDumper.h"

void XoHeapDbgDumper::init() {}

void XoHeapDbgDumper::uninit() {}

void XoHeapDbgDumper::dump(const void*) {}
