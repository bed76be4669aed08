#include "XoExceptionPointers.h"

#include <gtest/gtest.h>

#include <cstring>

#if defined(_WIN32)
#include <windows.h>
using Record = EXCEPTION_RECORD;
using Context = CONTEXT;
using Pointers = EXCEPTION_POINTERS;
#else
#include <ucontext.h>
using Record = XoExceptionRecord;
using Context = ucontext_t;
using Pointers = XoExceptionPointers;
#endif

namespace {

void fill(void* block, std::size_t size, unsigned char seed) {
    auto* bytes = static_cast<unsigned char*>(block);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(seed + i * 7);
}

TEST(ExceptionPointers, DeepCopiesTheRecordChainAndTheContext) {
    Record inner, outer;
    fill(&inner, sizeof inner, 1);
    fill(&outer, sizeof outer, 2);
    inner.ExceptionRecord = nullptr;
    outer.ExceptionRecord = &inner;
    Context context;
    fill(&context, sizeof context, 3);
#if !defined(_WIN32) && defined(__x86_64__)
    context.uc_mcontext.fpregs = &context.__fpregs_mem; // as a signal handler receives it
#endif
    Pointers source{&outer, &context};

    Pointers* copy = _copyExceptionPointers(&source);
    ASSERT_NE(copy, nullptr);
    ASSERT_NE(copy->ExceptionRecord, nullptr);
    EXPECT_NE(copy->ExceptionRecord, &outer);
    Record* first = copy->ExceptionRecord;
    Record* second = first->ExceptionRecord;
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, &inner);
    EXPECT_EQ(second->ExceptionRecord, nullptr);
    EXPECT_EQ(std::memcmp(reinterpret_cast<char*>(first) + sizeof(void*) * 0, &outer,
                          offsetof(Record, ExceptionRecord)),
              0);
    EXPECT_EQ(first->ExceptionCode, outer.ExceptionCode);
    EXPECT_EQ(first->ExceptionAddress, outer.ExceptionAddress);
    EXPECT_EQ(std::memcmp(second->ExceptionInformation, inner.ExceptionInformation,
                          sizeof inner.ExceptionInformation),
              0);

    ASSERT_NE(copy->ContextRecord, nullptr);
    EXPECT_NE(static_cast<void*>(copy->ContextRecord), static_cast<void*>(&context));
#if !defined(_WIN32) && defined(__x86_64__)
    EXPECT_EQ(copy->ContextRecord->uc_mcontext.fpregs, &copy->ContextRecord->__fpregs_mem);
    copy->ContextRecord->uc_mcontext.fpregs = context.uc_mcontext.fpregs;
#endif
    EXPECT_EQ(std::memcmp(copy->ContextRecord, &context, sizeof context), 0);

    _freeExceptionPointers(copy);
}

TEST(ExceptionPointers, NullAndMissingPartsStayNull) {
    EXPECT_EQ(_copyExceptionPointers(nullptr), nullptr);
    _freeExceptionPointers(nullptr);

    Record only;
    fill(&only, sizeof only, 9);
    only.ExceptionRecord = nullptr;
    Pointers source{&only, nullptr};
    Pointers* copy = _copyExceptionPointers(&source);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->ContextRecord, nullptr);
    ASSERT_NE(copy->ExceptionRecord, nullptr);
    EXPECT_EQ(copy->ExceptionRecord->ExceptionRecord, nullptr);
    _freeExceptionPointers(copy);
}

} // namespace
