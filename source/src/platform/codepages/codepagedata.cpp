// The generated tables of every table-driven code page.
#include "codepagedata.h"

namespace xo::codepages {
namespace {
#include "cp437.inc"
#include "cp850.inc"
#include "cp852.inc"
#include "cp855.inc"
#include "cp857.inc"
#include "cp860.inc"
#include "cp861.inc"
#include "cp863.inc"
#include "cp864.inc"
#include "cp865.inc"
#include "cp866.inc"
#include "cp869.inc"
#include "cp874.inc"
#include "cp932.inc"
#include "cp936.inc"
#include "cp949.inc"
#include "cp950.inc"
#include "cp1250.inc"
#include "cp1251.inc"
#include "cp1252.inc"
#include "cp1253.inc"
#include "cp1254.inc"
#include "cp1255.inc"
#include "cp1256.inc"
#include "cp1257.inc"
#include "cp1258.inc"
#include "cp1361.inc"
#include "cp10000.inc"
#include "cp10002.inc"
#include "cp20127.inc"
#include "cp20936.inc"
#include "cp28591.inc"
#include "cp28592.inc"
#include "cp28593.inc"
#include "cp28594.inc"
#include "cp28595.inc"
#include "cp28597.inc"
#include "cp28598.inc"
#include "cp28599.inc"

const PageData* const kPages[] = {
    &cp437::data,
    &cp850::data,
    &cp852::data,
    &cp855::data,
    &cp857::data,
    &cp860::data,
    &cp861::data,
    &cp863::data,
    &cp864::data,
    &cp865::data,
    &cp866::data,
    &cp869::data,
    &cp874::data,
    &cp932::data,
    &cp936::data,
    &cp949::data,
    &cp950::data,
    &cp1250::data,
    &cp1251::data,
    &cp1252::data,
    &cp1253::data,
    &cp1254::data,
    &cp1255::data,
    &cp1256::data,
    &cp1257::data,
    &cp1258::data,
    &cp1361::data,
    &cp10000::data,
    &cp10002::data,
    &cp20127::data,
    &cp20936::data,
    &cp28591::data,
    &cp28592::data,
    &cp28593::data,
    &cp28594::data,
    &cp28595::data,
    &cp28597::data,
    &cp28598::data,
    &cp28599::data,
};

} // namespace

int pageIndex(unsigned codePage) {
    switch (codePage) {
    case 437: return 0;
    case 850: return 1;
    case 852: return 2;
    case 855: return 3;
    case 857: return 4;
    case 860: return 5;
    case 861: return 6;
    case 863: return 7;
    case 864: return 8;
    case 865: return 9;
    case 866: return 10;
    case 869: return 11;
    case 874: return 12;
    case 932: return 13;
    case 936: return 14;
    case 949: return 15;
    case 950: return 16;
    case 1250: return 17;
    case 1251: return 18;
    case 1252: return 19;
    case 1253: return 20;
    case 1254: return 21;
    case 1255: return 22;
    case 1256: return 23;
    case 1257: return 24;
    case 1258: return 25;
    case 1361: return 26;
    case 10000: return 27;
    case 10002: return 28;
    case 20127: return 29;
    case 20936: return 30;
    case 28591: return 31;
    case 28592: return 32;
    case 28593: return 33;
    case 28594: return 34;
    case 28595: return 35;
    case 28597: return 36;
    case 28598: return 37;
    case 28599: return 38;
    default: return -1;
    }
}

const PageData* findPage(unsigned codePage) {
    const int index = pageIndex(codePage);
    return index < 0 ? nullptr : kPages[index];
}

const PageData* const* allPages(std::size_t* count) {
    *count = sizeof kPages / sizeof kPages[0];
    return kPages;
}

} // namespace xo::codepages
