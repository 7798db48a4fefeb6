#include "Engines/codec/Private/JpegHuffman.h"

#include <algorithm>
#include <cstddef>

namespace TWQuickTime::codec {

namespace {

/// Frequencies that lead to the table's own code lengths, and 1 for each symbol it lacks.
std::array<std::uint64_t, 256> impliedFrequencies(const JHUFF_TBL& table,
                                                  const std::vector<std::uint8_t>& all) {
    std::array<std::uint64_t, 256> frequencies{};
    for (const std::uint8_t symbol : all) {
        frequencies[symbol] = 1;
    }
    std::size_t next = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < table.bits[length]; ++i) {
            frequencies[table.huffval[next++]] = std::uint64_t(1) << (36 - length);
        }
    }
    return frequencies;
}

void complete(JHUFF_TBL& table, const std::vector<std::uint8_t>& all) {
    const HuffmanCode code = huffmanCodeFor(impliedFrequencies(table, all));
    table.bits[0] = 0;
    std::copy(code.counts.begin(), code.counts.end(), table.bits + 1);
    std::fill(std::begin(table.huffval), std::end(table.huffval), JOCTET(0));
    std::copy(code.symbols.begin(), code.symbols.end(), table.huffval);
    table.sent_table = FALSE;
}

}  // namespace

HuffmanCode huffmanCodeFor(const std::array<std::uint64_t, 256>& frequencies) {
    // One extra symbol of the least frequency takes the code of all ones.
    constexpr int kReserved = 256;
    std::array<std::uint64_t, 257> weight{};
    std::copy(frequencies.begin(), frequencies.end(), weight.begin());
    // Scale up so that the reserved symbol is rarer than any real one.
    for (int i = 0; i < 256; ++i) {
        weight[std::size_t(i)] *= 2;
    }
    weight[kReserved] = 1;
    std::array<int, 257> length{};
    std::array<int, 257> chain{};
    chain.fill(-1);
    for (;;) {
        int least = -1, second = -1;
        for (int i = 0; i <= kReserved; ++i) {
            const std::uint64_t w = weight[std::size_t(i)];
            if (w == 0) {
                continue;
            }
            if (least < 0 || w <= weight[std::size_t(least)]) {
                second = least;
                least = i;
            } else if (second < 0 || w <= weight[std::size_t(second)]) {
                second = i;
            }
        }
        if (second < 0) {
            break;
        }
        weight[std::size_t(second)] += weight[std::size_t(least)];
        weight[std::size_t(least)] = 0;
        int i = second;
        for (; ++length[std::size_t(i)], chain[std::size_t(i)] >= 0; i = chain[std::size_t(i)]) {
        }
        chain[std::size_t(i)] = least;
        for (i = least; i >= 0; i = chain[std::size_t(i)]) {
            ++length[std::size_t(i)];
        }
    }
    std::array<int, 258> counts{};
    for (const int l : length) {
        if (l > 0) {
            ++counts[std::size_t(std::min(l, 257))];
        }
    }
    // Codes longer than 16 bits are moved up in pairs.
    for (int i = 257; i > 16; --i) {
        while (counts[std::size_t(i)] > 0) {
            int j = i - 2;
            while (counts[std::size_t(j)] == 0) {
                --j;
            }
            counts[std::size_t(i)] -= 2;
            ++counts[std::size_t(i - 1)];
            counts[std::size_t(j + 1)] += 2;
            --counts[std::size_t(j)];
        }
    }
    int longest = 16;
    while (longest > 0 && counts[std::size_t(longest)] == 0) {
        --longest;
    }
    --counts[std::size_t(longest)];  // the reserved one
    HuffmanCode code;
    for (int i = 1; i <= 16; ++i) {
        code.counts[std::size_t(i - 1)] = static_cast<std::uint8_t>(counts[std::size_t(i)]);
    }
    for (int l = 1; l <= 257; ++l) {
        for (int symbol = 0; symbol < 256; ++symbol) {
            if (length[std::size_t(symbol)] == l) {
                code.symbols.push_back(static_cast<std::uint8_t>(symbol));
            }
        }
    }
    return code;
}

void completeTables(jpeg_compress_struct& info) {
    std::vector<std::uint8_t> dc, ac = {0x00, 0xF0};
    for (std::uint8_t size = 0; size <= 11; ++size) {
        dc.push_back(size);
    }
    for (int run = 0; run < 16; ++run) {
        for (int size = 1; size <= 10; ++size) {
            ac.push_back(static_cast<std::uint8_t>((run << 4) | size));
        }
    }
    for (int i = 0; i < NUM_HUFF_TBLS; ++i) {
        if (info.dc_huff_tbl_ptrs[i]) {
            complete(*info.dc_huff_tbl_ptrs[i], dc);
        }
        if (info.ac_huff_tbl_ptrs[i]) {
            complete(*info.ac_huff_tbl_ptrs[i], ac);
        }
    }
}

}  // namespace TWQuickTime::codec
