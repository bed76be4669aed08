#include "XoHeapDbgDumper.h"

// The dumper deliberately does nothing: modules still call it, and it must cost nothing.
void XoHeapDbgDumper::init() {}

void XoHeapDbgDumper::uninit() {}

void XoHeapDbgDumper::dump(const void*) {}
