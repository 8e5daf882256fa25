#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// Writers for the containers a Sound Designer II file's resource fork travels in, built
// from the published layouts, so the readers are tested against bytes made independently
// of them.
namespace quorvel::test {

using Bytes = std::vector<std::uint8_t>;

inline void put(Bytes& out, std::uint64_t value, int width)
{
    for (int i = width - 1; i >= 0; --i)
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}
inline void poke(Bytes& out, std::size_t at, std::uint64_t value, int width)
{
    for (int i = 0; i < width; ++i)
        out[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * (width - 1 - i)));
}
inline void putText(Bytes& out, const std::string& text) { out.insert(out.end(), text.begin(), text.end()); }

struct Sd2Fields {
    std::string size = "3", rate = "48000.000000", channels = "2";
};

// A resource fork with an unrelated type listed before 'STR ' (holding an id 1000 of its
// own) and the three strings referenced in reverse id order.
inline Bytes resourceFork(const Sd2Fields& fields)
{
    Bytes data;
    std::vector<std::uint32_t> at;
    for (const std::string* text : {&fields.channels, &fields.rate, &fields.size, &fields.size}) {
        at.push_back(static_cast<std::uint32_t>(data.size()));
        put(data, text->size() + 1, 4);
        data.push_back(static_cast<std::uint8_t>(text->size()));
        putText(data, *text);
    }
    Bytes map(28, 0);
    const std::size_t typeList = map.size();
    put(map, 1, 2); // two types
    putText(map, "sdML");
    put(map, 0, 2);
    put(map, 2 + 16, 2);
    putText(map, "STR ");
    put(map, 2, 2);
    put(map, 2 + 16 + 12, 2);
    const auto ref = [&](int id, std::uint32_t offset) {
        put(map, static_cast<std::uint64_t>(id), 2);
        put(map, 0xFFFF, 2);
        map.push_back(0);
        put(map, offset, 3);
        put(map, 0, 4);
    };
    ref(1000, at[3]);
    ref(1002, at[0]);
    ref(1001, at[1]);
    ref(1000, at[2]);
    poke(map, 24, typeList, 2);
    poke(map, 26, map.size(), 2);

    Bytes fork;
    const std::size_t dataOffset = 256;
    put(fork, dataOffset, 4);
    put(fork, dataOffset + data.size(), 4);
    put(fork, data.size(), 4);
    put(fork, map.size(), 4);
    fork.resize(dataOffset, 0);
    fork.insert(fork.end(), data.begin(), data.end());
    fork.insert(fork.end(), map.begin(), map.end());
    return fork;
}

struct Entry {
    std::uint32_t id;
    Bytes bytes;
};

// AppleDouble (magic 0x00051607) or AppleSingle (0x00051600), version 2, entries in order.
inline Bytes appleContainer(std::uint32_t magic, const std::vector<Entry>& entries)
{
    Bytes out;
    put(out, magic, 4);
    put(out, 0x00020000, 4);
    out.resize(24, 0);
    put(out, entries.size(), 2);
    std::size_t offset = 26 + 12 * entries.size();
    for (const Entry& e : entries) {
        put(out, e.id, 4);
        put(out, offset, 4);
        put(out, e.bytes.size(), 4);
        offset += e.bytes.size();
    }
    for (const Entry& e : entries)
        out.insert(out.end(), e.bytes.begin(), e.bytes.end());
    return out;
}

// Entry 8: created, modified, backed up and accessed, seconds since 2000 (UTC); only the first known.
inline Entry fileDates(std::int64_t since1970)
{
    Bytes dates;
    put(dates, static_cast<std::uint32_t>(since1970 - 946684800), 4);
    for (int i = 0; i < 3; ++i)
        put(dates, 0x80000000, 4);
    return {8, dates};
}

inline Bytes finderInfo(const std::string& type, const std::string& creator = "Sd2a")
{
    Bytes info;
    putText(info, type);
    putText(info, creator);
    info.resize(32, 0);
    return info;
}

inline Bytes appleDouble(const Bytes& fork, const std::string& type = "Sd2f")
{
    return appleContainer(0x00051607, {{9, finderInfo(type)}, {2, fork}});
}

inline Bytes appleSingle(const Bytes& data, const Bytes& fork, const std::string& type = "Sd2f")
{
    return appleContainer(0x00051600, {{3, Bytes{'M', 'i', 'x'}}, {9, finderInfo(type)}, {2, fork}, {1, data}});
}

inline std::uint16_t xmodem(const Bytes& bytes, std::size_t count)
{
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < count; ++i) {
        crc ^= static_cast<std::uint32_t>(bytes[i]) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000 ? (crc << 1) ^ 0x1021 : crc << 1) & 0xFFFF;
    }
    return static_cast<std::uint16_t>(crc);
}

// MacBinary III: a 128-byte header signed with CRC-16/XMODEM, then each fork padded to 128.
// `created`: seconds since 1904 as a Mac's clock read, 0 for none.
inline Bytes macBinary(const std::string& name, const Bytes& data, const Bytes& fork, const std::string& type = "Sd2f",
                       std::uint32_t created = 0)
{
    Bytes out(128, 0);
    out[1] = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), out.begin() + 2);
    std::copy(type.begin(), type.end(), out.begin() + 65);
    std::copy_n("Sd2a", 4, out.begin() + 69);
    poke(out, 83, data.size(), 4);
    poke(out, 87, fork.size(), 4);
    poke(out, 91, created, 4);
    out[102] = 'm', out[103] = 'B', out[104] = 'I', out[105] = 'N';
    out[122] = 130, out[123] = 129;
    poke(out, 124, xmodem(out, 124), 2);
    const auto pad = [&] { out.resize((out.size() + 127) / 128 * 128, 0); };
    out.insert(out.end(), data.begin(), data.end());
    pad();
    out.insert(out.end(), fork.begin(), fork.end());
    pad();
    return out;
}

} // namespace quorvel::test
