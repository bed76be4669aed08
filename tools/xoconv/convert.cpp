#include "convert.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "codecs.h"

namespace xoconv {

bool StdioSource::read(unsigned char* into, std::size_t room, std::size_t& got,
                       std::string& error) {
    got = std::fread(into, 1, room, stream_);
    if (got == 0 && std::ferror(stream_)) {
        error = std::strerror(errno);
        return false;
    }
    return true;
}

bool StdioSource::rewind(std::string& error) {
    if (std::fseek(stream_, 0, SEEK_SET) != 0) {
        error = std::strerror(errno);
        return false;
    }
    std::clearerr(stream_);
    return true;
}

long long StdioSource::size() const {
    struct stat facts;
    if (::fstat(::fileno(stream_), &facts) != 0 || !S_ISREG(facts.st_mode))
        return -1;
    return static_cast<long long>(facts.st_size);
}

bool TextSource::read(unsigned char* into, std::size_t room, std::size_t& got, std::string&) {
    got = std::min(room, bytes_.size() - at_);
    std::memcpy(into, bytes_.data() + at_, got);
    at_ += got;
    return true;
}

bool TextSource::rewind(std::string&) {
    at_ = 0;
    return true;
}

bool TextSink::write(const char* bytes, std::size_t size, std::string&) {
    text.append(bytes, size);
    return true;
}

bool StdioSink::write(const char* bytes, std::size_t size, std::string& error) {
    // A piece goes to the system in one call: through the C stream's small buffer it
    // took two, one to empty the buffer and one for the rest.
    if (std::fflush(stream_) != 0) {
        error = std::strerror(errno);
        return false;
    }
    const int fd = fileno(stream_);
    while (size > 0) {
        const auto chunk = static_cast<unsigned>(std::min<std::size_t>(size, 1u << 30));
#if defined(_WIN32)
        const int wrote = ::_write(fd, bytes, chunk);
#else
        const ssize_t wrote = ::write(fd, bytes, chunk);
#endif
        if (wrote < 0 && errno == EINTR)
            continue;
        if (wrote <= 0) {
            error = std::strerror(wrote < 0 ? errno : ENOSPC);
            return false;
        }
        bytes += wrote;
        size -= std::size_t(wrote);
    }
    return true;
}

void Progress::report(long long done) {
    if (!show || total <= 0)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (!begun_) {
        started_ = now;
        begun_ = true;
    } else if (now - drawn_ < std::chrono::milliseconds(250)) {
        return;
    }
    drawn_ = now;
    const double seconds = std::chrono::duration<double>(now - started_).count();
    const double mebibyte = 1024.0 * 1024.0;
    char rate[32] = "";
    if (seconds > 0)
        std::snprintf(rate, sizeof rate, "%.1f MiB/s", double(done) / mebibyte / seconds);
    else
        std::snprintf(rate, sizeof rate, "- MiB/s");
    std::fprintf(stderr, "\rxoconv: %s: %.1f of %.1f MiB (%d%%), %s\033[K", name.c_str(),
                 double(done) / mebibyte, double(total) / mebibyte, int(done * 100 / total), rate);
    std::fflush(stderr);
}
void Progress::finish() {
    if (show && begun_)
        std::fprintf(stderr, "\r\033[K");
}

namespace {

// The longest character or escape a decoder leaves for the next piece, and the most
// units held back for the next piece (a backslash and what may make it an escape).
constexpr std::size_t kCarriedBytes = 16;
constexpr std::size_t kHeldUnits = 8;
constexpr std::size_t kLongestMark = 4;

Conversion failed(Conversion::Outcome outcome, std::string error) {
    Conversion result;
    result.outcome = outcome;
    result.error = std::move(error);
    return result;
}

// Reads until room is full or the input ends; got 0 only at the end.
bool fill(Source& in, unsigned char* into, std::size_t room, std::size_t& got, std::string& error) {
    got = 0;
    while (got < room) {
        std::size_t more = 0;
        if (!in.read(into + got, room - got, more, error))
            return false;
        if (more == 0)
            break;
        got += more;
    }
    return true;
}

// Whether the whole input is UTF-8: how an input of no stated encoding and no mark is
// told from 8-bit text (which outside ASCII seldom is UTF-8).
bool wholeInputIsUtf8(Source& in, std::vector<unsigned char>& buffer, std::size_t piece,
                      std::string& error, bool& failed) {
    Utf8Check check;
    std::size_t have = 0;
    failed = false;
    for (;;) {
        std::size_t got = 0;
        if (!fill(in, buffer.data() + have, piece, got, error)) {
            failed = true;
            return false;
        }
        have += got;
        const std::size_t used = check.feed(buffer.data(), have, got == 0);
        if (!check.valid() || got == 0)
            return check.valid();
        std::memmove(buffer.data(), buffer.data() + used, have - used);
        have -= used;
    }
}

constexpr long kMark = 0xFEFF;
constexpr long kReversedMark = 0xFFFE;

// The encoding of the input from what --from says and the byte-order mark at the start
// of head; markSize receives the mark's size.
bool chooseEncoding(const Options& options, const unsigned char* head, std::size_t size,
                    Encoding& encoding, std::size_t& markSize, std::string& error) {
    encoding = options.from;
    Encoding marked;
    markSize = markOf(head, size, marked);
    // "utf-16" and "utf-32" take the order the mark gives.
    if (markSize > 0 && encoding.eitherOrder && unitSize(marked.kind) == unitSize(encoding.kind))
        encoding.kind = marked.kind;
    // Another form's mark may be text in the form stated: FF FE 00 00 is the UTF-16LE
    // mark and U+0000, EF BB BF is U+BBEF (a Hangul syllable) in UTF-16LE, 00 00 FE FF is
    // U+0000 U+FFFE. What --from says decides; only a first character that cannot be
    // (or is a reversed mark) makes the mark a contradiction.
    if (markSize > 0 && marked.kind != encoding.kind && unitSize(encoding.kind) > 0) {
        const long first = firstCharacter(encoding.kind, head, size);
        if (first == kMark) {
            marked.kind = encoding.kind;
            markSize = unitSize(encoding.kind);
        } else if (first >= 0 && first != kReversedMark) {
            markSize = 0;
        }
    }
    if (markSize > 0) {
        if (encoding.kind != Encoding::Auto && encoding.kind != marked.kind) {
            error =
                "the byte-order mark says " + describe(marked) + ", --from says " + encoding.name;
            return false;
        }
        encoding = marked;
        encoding.name = describe(marked) + " (its byte-order mark)";
    } else if (encoding.kind != Encoding::Auto) {
        encoding.name = describe(encoding) + " (--from)";
    }
    return true;
}

// The message of a conversion that stopped at a character the target lacks.
std::string lackedMessage(const Options& options, std::size_t index, unsigned long code,
                          std::size_t lacking) {
    const std::string others = " and " + std::to_string(lacking - 1) + " other(s) are not in " +
                               describe(options.to) + "; nothing written";
    if (options.to.kind != Encoding::Ansi8)
        return "character " + std::to_string(index) + " (" + hexUnit(code) + ", a lone surrogate)" +
               others;
    return "character " + std::to_string(index) + " (" + hexUnit(code) + ")" + others +
           " (--cif writes escapes, --replace '?', -c drops them)";
}

// The state of one conversion: the bytes read and not yet decoded, the units decoded
// and not yet encoded, and the bytes to write.
class Converter {
public:
    Converter(Source& in, Sink& out, const Options& options, Progress& progress, std::size_t piece)
        : in_(in), out_(out), options_(options), progress_(progress), piece_(piece),
          bytes_(piece + kCarriedBytes + kLongestMark),
          units_(Decoder::mostUnits(bytes_.size()) + kHeldUnits, L'\0') {}

    Conversion run();

private:
    bool start(Conversion& result);
    bool step(bool final, Conversion& result);
    void encode(const wchar_t* units, std::size_t count);
    void convertPlainStretch();

    Source& in_;
    Sink& out_;
    const Options& options_;
    Progress& progress_;
    std::size_t piece_;
    std::vector<unsigned char> bytes_;
    std::size_t have_ = 0, start_ = 0; // bytes_[start_, have_) wait for decoding
    long long byteBase_ = 0;           // the input offset of bytes_[0]
    std::wstring units_;               // decoded; the first held_ wait from the last step
    std::size_t held_ = 0;
    std::wstring changed_;
    Bytes encoded_;
    std::size_t unitBase_ = 0; // units encoded before
    std::size_t lacking_ = 0;
    std::size_t lackedIndex_ = 0;
    unsigned long lackedCode_ = 0;
    bool writing_ = true;
    bool first_ = true;
    Encoding encoding_;
    std::unique_ptr<Decoder> decoder_;
    std::unique_ptr<Encoder> encoder_;
};

bool Converter::start(Conversion& result) {
    std::string error;
    // Enough for the longest byte-order mark, whatever the piece.
    const std::size_t head = std::max(piece_, kLongestMark);
    if (!fill(in_, bytes_.data(), head, have_, error)) {
        result = failed(Conversion::ReadFailed, error);
        return false;
    }
    if (!chooseEncoding(options_, bytes_.data(), have_, encoding_, start_, error)) {
        result = failed(Conversion::NotText, error);
        return false;
    }
    if (encoding_.kind != Encoding::Auto)
        return true;
    bool readFailed = false;
    const bool utf8 = in_.rewind(error) && wholeInputIsUtf8(in_, bytes_, piece_, error, readFailed);
    if (readFailed || !in_.rewind(error) || !fill(in_, bytes_.data(), head, have_, error)) {
        result = failed(Conversion::ReadFailed, error);
        return false;
    }
    parseEncoding(utf8 ? "utf-8" : "ansi", encoding_);
    encoding_.name = utf8 ? "UTF-8 (no byte-order mark; valid UTF-8)"
                          : describe(encoding_) + " (no byte-order mark; not UTF-8)";
    return true;
}

void Converter::encode(const wchar_t* units, std::size_t count) {
    const std::size_t before = lacking_;
    std::size_t firstLacking = 0;
    encoder_->encode(units, count, encoded_, lacking_, firstLacking);
    if (before == 0 && lacking_ > 0) {
        const unsigned long pair = pairAt(units, count, firstLacking);
        lackedIndex_ = unitBase_ + firstLacking;
        lackedCode_ = pair != 0 ? pair : static_cast<unsigned long>(units[firstLacking]) & 0xFFFF;
        if (options_.lacking == Lacking::Fail)
            writing_ = false; // the rest is only counted
    }
    unitBase_ += count;
}

// The plain stretch at the start of what waits, in one pass when the directions allow.
void Converter::convertPlainStretch() {
    if (held_ != 0 || options_.lineEnds != LineEnds::Keep)
        return;
    std::size_t units = 0, used = 0;
    const Encoding::Kind to = options_.to.kind;
    const unsigned char* bytes = bytes_.data() + start_;
    if (encoding_.kind == Encoding::Ansi8 && to == Encoding::Utf8)
        used = decoder_->eightBitToUtf8(bytes, have_ - start_, encoded_, units);
    else if (encoding_.kind == Encoding::Utf8 && to == Encoding::Ansi8 &&
             options_.lacking != Lacking::Cif)
        used = utf8ToEightBit(*encoder_->page(), bytes, have_ - start_, encoded_, units);
    else if ((encoding_.kind == Encoding::Utf16Little || encoding_.kind == Encoding::Utf16Big) &&
             to == Encoding::Utf8)
        used = utf16ToUtf8(encoding_.kind == Encoding::Utf16Big, bytes, have_ - start_, encoded_,
                           units);
    start_ += used;
    unitBase_ += units;
}

// Decodes what waits, encodes what is ready and writes it; keeps for the next step an
// incomplete character and the units whose meaning depends on what follows.
bool Converter::step(bool final, Conversion& result) {
    encoded_.clear();
    const Encoding::Kind to = options_.to.kind;
    const bool bom = to != Encoding::Ansi8 &&
                     (options_.bom == 1 || (options_.bom == -1 && to != Encoding::Utf8));
    // Written here rather than by PmFILE (which writes a mark only where it can tell
    // that the stream is at its start: never on a pipe or a terminal).
    if (first_ && bom) {
        const std::string mark = markFor(to);
        encoded_.assign(mark.begin(), mark.end());
    }
    first_ = false;
    convertPlainStretch();
    std::size_t units = 0, consumed = 0, bad = 0;
    const bool decoded = decoder_->decode(bytes_.data() + start_, have_ - start_, final,
                                          &units_[held_], units, consumed, bad);
    if (!decoded) {
        result = failed(Conversion::NotText,
                        "byte " + std::to_string(byteBase_ + static_cast<long long>(start_ + bad)) +
                            ": " + decoder_->problem());
        return false;
    }
    const std::size_t count = held_ + units;
    const bool lineEnds = options_.lineEnds != LineEnds::Keep;
    const std::size_t hold = final ? 0
                                   : unitsToHold(units_.data(), count, lineEnds,
                                                 options_.to.kind == Encoding::Ansi8 &&
                                                     options_.lacking == Lacking::Cif);
    const std::size_t ready = count - hold;
    if (lineEnds) {
        changeLineEnds(units_.data(), ready, options_.lineEnds, changed_);
        encode(changed_.data(), changed_.size());
    } else {
        encode(units_.data(), ready);
    }
    std::string error;
    if (writing_ && !encoded_.empty() && !out_.write(encoded_.data(), encoded_.size(), error)) {
        result = failed(Conversion::WriteFailed, error);
        return false;
    }
    std::copy(units_.begin() + std::ptrdiff_t(ready), units_.begin() + std::ptrdiff_t(count),
              units_.begin());
    held_ = hold;
    const std::size_t used = start_ + consumed;
    std::memmove(bytes_.data(), bytes_.data() + used, have_ - used);
    have_ -= used;
    start_ = 0;
    byteBase_ += static_cast<long long>(used);
    progress_.report(byteBase_);
    return true;
}

Conversion Converter::run() {
    Conversion result;
    progress_.total = in_.size();
    if (!start(result))
        return result;
    result.used = encoding_;
    decoder_ = std::make_unique<Decoder>(encoding_, options_.decodeEscapes);
    encoder_ = std::make_unique<Encoder>(options_.to, options_.lacking);
    for (bool final = false;;) {
        if (!step(final, result)) {
            result.used = encoding_;
            return result;
        }
        if (final)
            break;
        std::size_t got = 0;
        std::string error;
        if (!fill(in_, bytes_.data() + have_, piece_, got, error)) {
            result = failed(Conversion::ReadFailed, error);
            result.used = encoding_;
            return result;
        }
        have_ += got;
        final = got == 0;
    }
    result.lacking = lacking_;
    if (lacking_ > 0 && options_.lacking == Lacking::Fail) {
        result.outcome = Conversion::Lacked;
        result.error = lackedMessage(options_, lackedIndex_, lackedCode_, lacking_);
    }
    return result;
}

} // namespace

Conversion convert(Source& in, Sink& out, const Options& options, Progress& progress,
                   std::size_t piece) {
    Converter converter(in, out, options, progress, piece < 1 ? 1 : piece);
    return converter.run();
}

} // namespace xoconv
