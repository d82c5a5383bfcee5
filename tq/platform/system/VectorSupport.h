#pragma once
// Which vector instructions the decoders and encoders may use: those the
// processor has, capped by the environment variable TQBASEKIT_VECTOR_LIMIT
// ("baseline" or "avx2"), so that tests and fuzzers can run the narrower code
// paths on a machine that has the wider ones. Read once per process.

namespace tq::VectorSupport {

/// AVX2, when the processor has it and the limit allows it.
bool useAVX2();
/// AVX-512 with the byte, byte-permute and byte-compression instructions
/// (F, BW, VBMI, VBMI2),
/// when the processor has them and no limit is set.
bool useAVX512();

}  // namespace tq::VectorSupport
