// The Base64 decoder's block loop built for AVX2 (this file is compiled with
// it).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

// Runs of 32 alphabet bytes, 24 output bytes each, with AVX2: every byte is
// classified by range (A-Z, a-z, 0-9 and the two alphabet-specific digits),
// moved to its digit value by the offset of its class, and the four 6-bit
// digits of each 32-bit lane are packed into three bytes. Needs 32 bytes of
// room in the output (it stores whole vectors).
inline __m256i inRange(__m256i x, char low, char high) {
  // Signed comparisons: bytes of 0x80 and above are negative and fall outside
  // every range, whose bounds are all positive.
  return _mm256_and_si256(_mm256_cmpgt_epi8(x, _mm256_set1_epi8(char(low - 1))),
                          _mm256_cmpgt_epi8(_mm256_set1_epi8(char(high + 1)), x));
}

class AVX2Alphabet {
 public:
  explicit AVX2Alphabet(bool urlSafe)
      : digit62_(_mm256_set1_epi8(urlSafe ? '-' : '+')),
        digit63_(_mm256_set1_epi8(urlSafe ? '_' : '/')),
        offset62_(_mm256_set1_epi8(char(62 - (urlSafe ? '-' : '+')))),
        offset63_(_mm256_set1_epi8(char(63 - (urlSafe ? '_' : '/')))) {}

  // Bit k set when byte k is not a digit.
  std::uint32_t nonDigits(__m256i x) const {
    const __m256i valid = _mm256_or_si256(_mm256_or_si256(inRange(x, 'A', 'Z'), inRange(x, 'a', 'z')),
                                          _mm256_or_si256(inRange(x, '0', '9'), _mm256_or_si256(is62(x), is63(x))));
    return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(valid));
  }

  // Decodes the 32 bytes, all digits where it matters, into 24 bytes stored
  // (with 8 bytes of garbage after them) at `out`. Each 32-bit lane packs
  // independently, so the garbage of a lane with non-digits touches only
  // output that is not kept.
  void decode(__m256i x, std::uint8_t* out) const {
    __m256i shift = _mm256_and_si256(inRange(x, 'A', 'Z'), _mm256_set1_epi8(char(-'A')));
    shift = _mm256_or_si256(shift, _mm256_and_si256(inRange(x, 'a', 'z'), _mm256_set1_epi8(char(26 - 'a'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(inRange(x, '0', '9'), _mm256_set1_epi8(char(52 - '0'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is62(x), offset62_));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is63(x), offset63_));
    const __m256i values = _mm256_add_epi8(x, shift);
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i lanes = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                           2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i bytes =
        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(lanes, order), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
  }

 private:
  __m256i is62(__m256i x) const { return _mm256_cmpeq_epi8(x, digit62_); }
  __m256i is63(__m256i x) const { return _mm256_cmpeq_epi8(x, digit63_); }

  __m256i digit62_, digit63_, offset62_, offset63_;
};

// A line break expected in the input: where it starts, and its one or two
// bytes (the second one only when the length is 2).
struct LineBreak {
  std::size_t at;
  std::size_t length;
  std::uint8_t first;
  std::uint8_t second;
};

// Decodes blocks of 32 digits and stops at the first block it cannot take
// whole, after the whole groups before its first non-digit; the scalar paths
// handle the rest. A block whose one interruption is a line break (one or two
// bytes the decoder ignores: LF, or CRLF when lenient) is taken whole: the
// bytes after the break are loaded again one or two places on and blended in,
// which closes the gap.
//
// Once two breaks of the same bytes have been closed, the text is taken to be
// wrapped at a fixed width, and where the next break falls is predicted from
// the width instead of found by looking: finding it makes each load wait for
// the classification of the block before it, and a branch on whether a block
// holds a break would be mispredicted once a line, since the breaks fall out
// of step with the blocks. A prediction is checked after the fact, and the
// first one that fails hands the block back to the searching loop.
class AVX2BlockDecoder {
 public:
  AVX2BlockDecoder(const std::uint8_t* s, std::size_t n, std::uint8_t* out,
                                                   std::size_t room, bool urlSafe, const std::uint8_t* ignorable)
      : input_{s, n, out, room, ignorable, AVX2Alphabet(urlSafe)} {}

  std::size_t run(std::size_t* written) {
    while (searchForBreaks()) predictBreaks();
    *written = o_;
    return i_;
  }

 private:
  // Block by block, looking for each break; true when two breaks of the same
  // bytes have given the line width, false at a block it cannot take.
  bool searchForBreaks() {
    const Input l = input_;
    std::size_t i = i_, o = o_;
    std::size_t previous = SIZE_MAX, previousLength = 0;
    bool learned = false;
    while (i + 32 <= l.n && o + 32 <= l.room) {
      const __m256i x = l.load(i);
      const std::uint32_t bad = l.alphabet.nonDigits(x);
      if (bad == 0) {
        l.alphabet.decode(x, l.out + o);
        i += 32;
        o += 24;
        continue;
      }
      const std::size_t at = i + static_cast<std::size_t>(__builtin_ctz(bad));
      std::size_t length = 0;
      if (i + 33 <= l.n && l.ignorable[l.s[at]]) length = 1 + l.ignorable[l.s[at + 1]];
      if (length != 0 && i + length + 32 <= l.n) {
        const __m256i closed = l.closeGap(x, i, at - i, length);
        if (l.alphabet.nonDigits(closed) == 0) {
          l.alphabet.decode(closed, l.out + o);
          i += 32 + length;
          o += 24;
          if (previous != SIZE_MAX && length == previousLength && l.sameBytes(at, previous, length) &&
              at - previous >= kShortestWidth) {
            width_ = at - previous;
            next_ = {at + width_, length, l.s[at], l.s[at + 1]};
            learned = true;
            break;
          }
          previous = at;
          previousLength = length;
          continue;
        }
      }
      const std::size_t groups = (at - i) / 4;
      if (groups != 0) l.alphabet.decode(x, l.out + o);
      i += 4 * groups;
      o += 3 * groups;
      break;
    }
    i_ = i;
    o_ = o;
    return learned;
  }

  // Block by block at the predicted breaks, until a prediction fails or the
  // input or the room runs out.
  void predictBreaks() {
    const Input l = input_;
    const std::uint8_t first = next_.first, second = next_.second;
    const std::size_t width = width_, breakLength = next_.length;
    std::size_t i = i_, o = o_, next = next_.at;
    // Two bytes past the block are read when a break may start at its end.
    while (i + 34 <= l.n && o + 32 <= l.room) {
      const __m256i x = l.load(i);
      // Masks rather than conditions, so that nothing here is a branch.
      const std::size_t distance = next - i;
      const std::size_t inBlock = -static_cast<std::size_t>(distance < 32);
      const std::size_t at = distance < 32 ? distance : 32;
      const std::size_t length = breakLength & inBlock;
      const __m256i closed = l.closeGap(x, i, at, length);
      const bool bytesMatch = (l.s[i + at] == first) & ((breakLength == 1) | (l.s[i + at + 1] == second));
      const bool breakThere = (inBlock == 0) | bytesMatch;
      if (!breakThere || l.alphabet.nonDigits(closed) != 0) break;
      l.alphabet.decode(closed, l.out + o);
      i += 32 + length;
      o += 24;
      next += width & inBlock;
    }
    i_ = i;
    o_ = o;
  }

  // What the loops read, which each copies into a local to keep in
  // registers: every store through the output could alias a member, which
  // would then be reloaded each block.
  struct Input {
    const std::uint8_t* s;
    std::size_t n;
    std::uint8_t* out;
    std::size_t room;
    const std::uint8_t* ignorable;
    AVX2Alphabet alphabet;

    __m256i load(std::size_t at) const {
      return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + at));
    }

    // The block x, loaded at i, with the `length` bytes at its offset `at`
    // taken out and the following bytes moved up.
    __m256i closeGap(__m256i x, std::size_t i, std::size_t at,
                                                     std::size_t length) const {
      const __m256i positions = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18,
                                                 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
      const __m256i fromAfter = _mm256_cmpgt_epi8(positions, _mm256_set1_epi8(char(at - 1)));
      return _mm256_blendv_epi8(x, load(i + length), fromAfter);
    }

    bool sameBytes(std::size_t a, std::size_t b, std::size_t length) const {
      return s[a] == s[b] && (length == 1 || s[a + 1] == s[b + 1]);
    }
  };

  // Lines narrower than this can put two breaks in one block, which the
  // predicting loop does not handle; they stay with the searching one.
  static constexpr std::size_t kShortestWidth = 36;

  Input input_;
  std::size_t i_ = 0, o_ = 0;
  std::size_t width_ = 0;
  LineBreak next_{SIZE_MAX, 0, 0, 0};
};

}  // namespace

std::size_t base64DecodeAVX2(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room, bool urlSafe,
                             const std::uint8_t* ignorable, std::size_t* written) {
  return AVX2BlockDecoder(s, n, out, room, urlSafe, ignorable).run(written);
}

}  // namespace tq::EncodingLoops
