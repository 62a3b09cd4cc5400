#include "BeaconryBase/Sha256.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace pelorin {

namespace {

constexpr std::size_t blockSize = 64;

// The first bits of the fractions of the cube roots of the first 64 primes, and of the square roots of the first 8.
constexpr std::uint32_t roundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

struct State {
    std::uint32_t words[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                              0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

    void take(const unsigned char* block) {
        std::uint32_t schedule[64];
        for (std::size_t index = 0; index < 16; ++index) {
            const unsigned char* bytes = block + 4 * index;
            schedule[index] = static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
                              static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
        }
        for (std::size_t index = 16; index < 64; ++index) {
            const std::uint32_t far = schedule[index - 15];
            const std::uint32_t near = schedule[index - 2];
            schedule[index] = schedule[index - 16] + schedule[index - 7] +
                              (std::rotr(far, 7) ^ std::rotr(far, 18) ^ (far >> 3)) +
                              (std::rotr(near, 17) ^ std::rotr(near, 19) ^ (near >> 10));
        }
        auto [a, b, c, d, e, f, g, h] = words;
        for (std::size_t index = 0; index < 64; ++index) {
            const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                        ((e & f) ^ (~e & g)) + roundConstants[index] + schedule[index];
            const std::uint32_t second =
                (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + first;
            d = c;
            c = b;
            b = a;
            a = first + second;
        }
        const std::uint32_t round[8] = {a, b, c, d, e, f, g, h};
        for (std::size_t index = 0; index < 8; ++index)
            words[index] += round[index];
    }
};

} // namespace

std::string sha256(std::string_view bytes) {
    State state;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t rest = bytes.size();
    for (; rest >= blockSize; rest -= blockSize, data += blockSize)
        state.take(data);

    // What is left, a one, zeros, and the number of bits.
    unsigned char last[2 * blockSize] = {};
    for (std::size_t index = 0; index < rest; ++index)
        last[index] = data[index];
    last[rest] = 0x80;
    const std::size_t size = rest + 1 + 8 <= blockSize ? blockSize : 2 * blockSize;
    const std::uint64_t bits = static_cast<std::uint64_t>(bytes.size()) * 8;
    for (std::size_t index = 0; index < 8; ++index)
        last[size - 1 - index] = static_cast<unsigned char>(bits >> (8 * index));
    for (std::size_t position = 0; position < size; position += blockSize)
        state.take(last + position);

    constexpr std::string_view hexDigits = "0123456789abcdef";
    std::string digest;
    for (const std::uint32_t word : state.words) {
        for (int shift = 28; shift >= 0; shift -= 4)
            digest += hexDigits[(word >> shift) & 0xF];
    }
    return digest;
}

} // namespace pelorin
