// Random sequences of operations on a flat buffer and on a wrapper over a block that
// ends at a guarded page, each beside a plain model: both must agree on the bytes, the
// length, the position and which operations throw, and nothing may touch memory outside
// the streams' own.
#include "XoFlatMemBuf.h"
#include "XoMemStreamWrapperBuf.h"
#include "fuzzsupport.h"
#include "platform/virtualmemory.h"

#include "XoException.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using fuzzsupport::check;

namespace {

constexpr std::size_t kPage = 4096;
constexpr unsigned kMaxBlock = 64;

// The reference: a byte vector, a position, and for the wrapper a fixed capacity. Bytes
// that growth exposes without writing are unknown until they are read off the stream.
struct Model {
    std::vector<unsigned char> bytes;
    std::vector<bool> known;
    std::uint32_t position = 0;
    bool wrapper = false;
    std::uint32_t capacity = 0;

    // False where the stream must throw "_resize failed!" instead of growing.
    bool canGrow(std::uint64_t end) const {
        return end <= bytes.size() || !wrapper || end <= capacity;
    }
    void grow(std::uint64_t end) {
        if (end > bytes.size())
            setLength(std::size_t(end));
    }
    void setLength(std::size_t length) {
        bytes.resize(length);
        known.resize(length, false);
    }
    void put(std::size_t at, const unsigned char* src, std::size_t count) {
        grow(at + count);
        std::copy(src, src + count, bytes.begin() + long(at));
        std::fill(known.begin() + long(at), known.begin() + long(at + count), true);
    }
};

// The block of the wrapper, placed so that its last byte is the last of a page whose
// successor has no access.
struct GuardedBlock {
    unsigned char* base = nullptr;
    unsigned char* data = nullptr;
    GuardedBlock() {
        base = static_cast<unsigned char*>(xo::platform::reserveAligned(2 * kPage, kPage));
        check(base != nullptr && xo::platform::commit(base, kPage));
        data = base + kPage - kMaxBlock;
    }
};

GuardedBlock& guarded() {
    static GuardedBlock block;
    return block;
}

std::wstring thrown(const std::function<void()>& call) {
    try {
        call();
    } catch (XoException* exception) {
        std::wstring message = exception->description();
        delete exception;
        return message;
    }
    return L"";
}

struct Run {
    fuzzsupport::Reader in;
    XoMemStreamBuf* stream;
    Model model;
    XoFlatMemBuf peer{0}; // the other stream of stream-to-stream operations
    Model peerModel;

    unsigned small() { return in.byte() % (kMaxBlock + 8); }

    void expectThrow(const std::function<void()>& call, const wchar_t* message) {
        check(thrown(call) == message);
    }

    void step() {
        const unsigned op = in.byte() % 24;
        const unsigned n = small();
        const unsigned p = small();
        const unsigned char b = in.byte();
        if (std::getenv("XO_FUZZ_TRACE"))
            std::fprintf(stderr, "op %u n %u p %u b %u | len %zu pos %u\n", op, n, p, b,
                         model.bytes.size(), model.position);
        const bool wrapper = model.wrapper;
        Model& m = model;
        auto* flat = dynamic_cast<XoFlatMemBuf*>(stream);
        XoStreamBufPos pos(stream);
        pos.m_nPosition = p;
        unsigned char out[kMaxBlock + 8];
        std::vector<unsigned char> src(n);
        for (unsigned i = 0; i < n; ++i)
            src[i] = static_cast<unsigned char>(b + i);
        const auto resizeFailed = [&](auto call) { expectThrow(call, L"_resize failed!"); };
        switch (op) {
        case 0: // writeByte
            if (!m.canGrow(m.position + 1ull))
                return resizeFailed([&] { stream->writeByte(b); });
            stream->writeByte(b);
            m.put(m.position++, &b, 1);
            return;
        case 1: // readByte
            if (m.position >= m.bytes.size())
                return expectThrow([&] { stream->readByte(); },
                                   wrapper ? L"Out of stream buffer!" : L"End of stream buffer!");
            check(stream->readByte() == m.bytes[m.position++]);
            return;
        case 2: // writeBytes raw
            if (!m.canGrow(std::uint64_t(m.position) + n))
                return resizeFailed([&] { stream->writeBytes(src.data(), n); });
            stream->writeBytes(src.data(), n);
            if (n != 0) // nothing at all, also past the end
                m.put(m.position, src.data(), n);
            m.position += n;
            return;
        case 3: // readBytes raw; the wrapper ignores a zero count
            if (m.position + std::uint64_t(n) > m.bytes.size() && !(wrapper && n == 0))
                return expectThrow([&] { stream->readBytes(out, n); }, L"Out of stream buffer!");
            stream->readBytes(out, n);
            check(std::equal(out, out + n, m.bytes.begin() + m.position));
            m.position += n;
            return;
        case 4: { // seek; an unknown kind stays put, or goes to 0 on the wrapper
            const auto kind = XoIO::SeekType(b % 5);
            std::int64_t target = wrapper ? 0 : m.position;
            if (kind == XoIO::kSeekBegin)
                target = n;
            else if (kind == XoIO::kSeekForward)
                target = std::int64_t(m.position) + n;
            else if (kind == XoIO::kSeekBackward)
                target = std::int64_t(m.position) - n;
            else if (kind == XoIO::kSeekFromEnd)
                target = std::int64_t(m.bytes.size()) - n;
            if (!wrapper && kind > XoIO::kSeekFromEnd)
                return check(stream->seek(n, kind) == m.position); // checks nothing
            if (target < 0 || target > std::int64_t(m.bytes.size()))
                return expectThrow([&] { stream->seek(n, kind); }, L"Out of stream buffer!");
            check(stream->seek(n, kind) == std::size_t(target));
            m.position = std::uint32_t(target);
            return;
        }
        case 5: // setlength or resize; the wrapper pulls its position back
            if (!m.canGrow(n))
                return resizeFailed([&] { stream->setlength(n); });
            (b & 1) ? stream->setlength(n) : stream->resize(n);
            m.setLength(n);
            if (wrapper)
                m.position = std::min<std::uint32_t>(m.position, n);
            return;
        case 6:
            stream->truncate();
            m.setLength(m.position);
            return;
        case 7:
            stream->rewind();
            m.position = 0;
            return;
        case 8: // setByteByPos: past its end the flat buffer appends
            if (!m.canGrow(p + 1ull))
                return resizeFailed([&] { stream->setByteByPos(pos, b); });
            stream->setByteByPos(pos, b);
            m.put(wrapper || p < m.bytes.size() ? p : m.bytes.size(), &b, 1);
            return;
        case 9:
            if (p >= m.bytes.size())
                return expectThrow([&] { stream->getByteByPos(pos); }, L"Out of stream buffer!!!");
            check(stream->getByteByPos(pos) == m.bytes[p]);
            return;
        case 10: // setBytesByPos raw
            if (n != 0 && !m.canGrow(std::uint64_t(p) + n))
                return resizeFailed([&] { stream->setBytesByPos(pos, src.data(), n); });
            stream->setBytesByPos(pos, src.data(), n);
            if (n != 0)
                m.put(p, src.data(), n);
            return;
        case 11: // getBytesByPos raw
            if (std::uint64_t(p) + n > m.bytes.size())
                return expectThrow([&] { stream->getBytesByPos(pos, out, n); },
                                   L"Out of stream buffer!!!");
            stream->getBytesByPos(pos, out, n);
            check(std::equal(out, out + n, m.bytes.begin() + p));
            return;
        case 12: { // the views
            XoBuffer view;
            if (b & 1) {
                const bool atEnd = m.position >= m.bytes.size();
                check(stream->readBuffer(view, n) == atEnd);
                const unsigned size =
                    atEnd ? 0 : std::min<unsigned>(n, unsigned(m.bytes.size()) - m.position);
                check(view.size() == size);
                check(size == 0 || std::memcmp(view.data(), &m.bytes[m.position], size) == 0);
                m.position += size;
                return;
            }
            if (!m.canGrow(std::uint64_t(m.position) + n))
                return resizeFailed([&] { stream->writeBuffer(view, n); });
            stream->writeBuffer(view, n);
            check(view.size() == n);
            if (n != 0)
                std::memcpy(view.data(), src.data(), n);
            m.put(m.position, src.data(), n);
            m.position += n;
            return;
        }
        case 13: { // getBufferAt: the wrapper's seek refuses a position past its length
            XoBuffer view;
            if (wrapper && p > m.bytes.size())
                return expectThrow([&] { stream->getBufferAt(p, view, n); },
                                   L"Out of stream buffer!");
            const bool atEnd = p >= m.bytes.size();
            check(stream->getBufferAt(p, view, n) == atEnd);
            check(view.size() == (atEnd ? 0 : std::min<unsigned>(n, unsigned(m.bytes.size()) - p)));
            return;
        }
        case 14: // setPosition: the flat buffer checks it, the memory default does nothing
            if (!wrapper && p > m.bytes.size())
                return expectThrow([&] { stream->setPosition(p); }, L"Out of stream buffer!");
            stream->setPosition(p);
            if (!wrapper)
                m.position = p;
            return;
        case 15: // reserve changes nothing a caller reads
            stream->reserve(p);
            return;
        case 16: { // position words wrap in 32 bits
            XoStreamBufPos word = stream->currentStreamBufPosition();
            check(word.m_nPosition == m.position && word.m_pStreamBuf == stream);
            stream->moveStreamPosition(&word, -std::int64_t(n) - 1);
            check(stream->getStreamPosition(&word) ==
                  std::uint32_t(std::int64_t(m.position) - std::int64_t(n) - 1));
            return;
        }
        case 17: // the flat buffer's own: loadFrom leaves its tail unset, clear keeps capacity
            if (flat == nullptr)
                return;
            if (b & 1) {
                flat->clear();
                m.setLength(0);
                m.position = 0;
                return;
            }
            flat->loadFrom(src.data(), n, p);
            m.setLength(0);
            m.put(0, src.data(), n);
            m.grow(std::uint64_t(n) + p);
            m.position = p;
            return;
        case 18: // the peer gets bytes at its position
            peer.writeBytes(src.data(), n);
            peerModel.put(peerModel.position, src.data(), n);
            peerModel.position += n;
            return;
        case 19:
            if (p <= peerModel.bytes.size()) {
                peer.seek(p, XoIO::kSeekBegin);
                peerModel.position = p;
            }
            return;
        case 20: { // readBytes into the peer: only the flat buffer puts it back
            XoStreamBuf* dest = &peer;
            if (wrapper && n == 0)
                return stream->readBytes(dest, 0);
            if (m.position + std::uint64_t(n) > m.bytes.size())
                return expectThrow([&] { stream->readBytes(dest, n); }, L"Out of stream buffer!");
            stream->readBytes(dest, n);
            peerModel.put(peerModel.position, m.bytes.data() + m.position, n);
            if (wrapper)
                peerModel.position += n;
            m.position += n;
            return;
        }
        case 21: { // writeBytes from the peer's position: only the flat buffer puts it back
            XoStreamBuf* from = &peer;
            if (n == 0)
                return stream->writeBytes(from, 0);
            if (!m.canGrow(std::uint64_t(m.position) + n))
                return resizeFailed([&] { stream->writeBytes(from, n); });
            if (peerModel.position + std::uint64_t(n) > peerModel.bytes.size())
                return expectThrow([&] { stream->writeBytes(from, n); }, L"Out of stream buffer!");
            stream->writeBytes(from, n);
            m.put(m.position, peerModel.bytes.data() + peerModel.position, n);
            m.position += n;
            if (wrapper)
                peerModel.position += n;
            return;
        }
        case 22: { // the wrapper's copyFrom of the peer's [p, p + n); the peer is put back
            if (!wrapper || n == 0)
                return;
            if (p > peerModel.bytes.size())
                return expectThrow([&] { stream->copyFrom(&peer, p, p + n); },
                                   L"Out of stream buffer!");
            if (!m.canGrow(std::uint64_t(m.position) + n))
                return resizeFailed([&] { stream->copyFrom(&peer, p, p + n); });
            if (std::uint64_t(p) + n > peerModel.bytes.size())
                return expectThrow([&] { stream->copyFrom(&peer, p, p + n); },
                                   L"Out of stream buffer!");
            stream->copyFrom(&peer, p, p + n);
            m.put(m.position, peerModel.bytes.data() + p, n);
            return;
        }
        case 23: { // the wrapper's copyTo the peer's [p, p + n); the peer is put back
            if (!wrapper || n == 0)
                return;
            if (p > peerModel.bytes.size() || m.position + std::uint64_t(n) > m.bytes.size())
                return expectThrow([&] { stream->copyTo(&peer, p, p + n); },
                                   L"Out of stream buffer!");
            stream->copyTo(&peer, p, p + n);
            peerModel.put(p, m.bytes.data() + m.position, n);
            return;
        }
        }
    }

    // Takes the bytes that growth exposed from the stream, then compares everything.
    static void compare(XoMemStreamBuf& s, Model& mm) {
        if (std::getenv("XO_FUZZ_TRACE"))
            std::fprintf(stderr, "  real len %zu pos %zu\n", s.length(), s.tell());
        check(s.length() == mm.bytes.size());
        check(s.tell() == mm.position);
        check(s.isEOS() == (mm.position >= mm.bytes.size()));
        if (mm.bytes.empty())
            return;
        XoBuffer view;
        check(!s.getBufferAt(0, view, ~0u));
        check(view.size() == mm.bytes.size());
        for (std::size_t i = 0; i < mm.bytes.size(); ++i) {
            if (!mm.known[i]) {
                mm.bytes[i] = view.data()[i];
                mm.known[i] = true;
            }
        }
        check(std::memcmp(view.data(), mm.bytes.data(), view.size()) == 0);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const bool useWrapper = data[0] & 1;
    const unsigned capacity = data[1] % (kMaxBlock + 1);
    GuardedBlock& block = guarded();
    unsigned char* start = block.data + (kMaxBlock - capacity);
    std::memset(block.base, 0xA5, kPage);
    XoFlatMemBuf flat(data[0] >> 1);
    XoMemStreamWrapperBuf wrapper(start, capacity);
    Run run{{data + 2, size - 2}, useWrapper ? static_cast<XoMemStreamBuf*>(&wrapper) : &flat};
    if (useWrapper) {
        run.model.wrapper = true;
        run.model.capacity = capacity;
        run.model.put(0, start, capacity);
    }
    for (int steps = 0; run.in.size != 0 && steps < 256; ++steps) {
        run.step();
        Run::compare(*run.stream, run.model);
        Run::compare(run.peer, run.peerModel);
    }
    // Nothing before the wrapped block was touched.
    for (unsigned char* p = block.base; p < start; ++p)
        check(*p == 0xA5);
    return 0;
}
