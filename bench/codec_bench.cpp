// SPDX-License-Identifier: MIT
// Encoding and decoding of a port's 33 numbers: the settings stream beside a hand-written copy of a plain
// record, nanopb and msgpack-c. Before anything is timed, every contestant must give back the values that it
// was given.
#include "bench/port_fields.h"
#include "bench/port_message.h"
#include "driver_access/bus_parameters.h"
#include "driver_access/vcp_parameters.h"

#include <benchmark/benchmark.h>
#include <msgpack.h>
#include <pb_decode.h>
#include <pb_encode.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kFields = 33;
constexpr std::size_t kStreamSize = 4 * kFields;
using Stream = std::array<BYTE, 512>;  // room for every form

// The plain record that a driver author would write by hand.
struct PortRecord {
#define QX_MEMBER(name, number) std::uint32_t name;
    QX_PORT_FIELDS(QX_MEMBER)
#undef QX_MEMBER
};
static_assert(sizeof(PortRecord) == kStreamSize);

// Any object with the 33 fields filled with values of a port in use, some of them zero.
template <typename Fields>
void Fill(Fields& fields) {
    DWORD value = 0;
#define QX_FILL(name, number)                             \
    value = (number) % 3 == 0 ? 0 : (number)*0x01010101U; \
    fields.name = value;
    QX_PORT_FIELDS(QX_FILL)
#undef QX_FILL
}

template <typename Fields>
void Check(const Fields& fields, const char* contestant) {
    Fields expected{};
    Fill(expected);
    bool same = true;
#define QX_COMPARE(name, number) same = same && fields.name == expected.name;
    QX_PORT_FIELDS(QX_COMPARE)
#undef QX_COMPARE
    if (!same) {
        std::fprintf(stderr, "%s does not give back what it was given\n", contestant);
        std::exit(1);
    }
}

void Put(unsigned char* out, std::uint32_t value) {
    out[0] = static_cast<unsigned char>(value);
    out[1] = static_cast<unsigned char>(value >> 8);
    out[2] = static_cast<unsigned char>(value >> 16);
    out[3] = static_cast<unsigned char>(value >> 24);
}

std::uint32_t Get(const unsigned char* in) {
    return static_cast<std::uint32_t>(in[0]) | static_cast<std::uint32_t>(in[1]) << 8 |
           static_cast<std::uint32_t>(in[2]) << 16 | static_cast<std::uint32_t>(in[3]) << 24;
}

// --- hand-written copy ---

[[gnu::noinline]] void EncodeByHand(const PortRecord& record, unsigned char* out) {
#define QX_PUT(name, number) Put(out + 4 * ((number)-1), record.name);
    QX_PORT_FIELDS(QX_PUT)
#undef QX_PUT
}

[[gnu::noinline]] void DecodeByHand(PortRecord& record, const unsigned char* in) {
#define QX_GET(name, number) record.name = Get(in + 4 * ((number)-1));
    QX_PORT_FIELDS(QX_GET)
#undef QX_GET
}

void HandEncode(benchmark::State& state) {
    PortRecord record{};
    Fill(record);
    Stream stream{};
    for (auto _ : state) {
        EncodeByHand(record, stream.data());
        benchmark::ClobberMemory();
    }
    PortRecord back{};
    DecodeByHand(back, stream.data());
    Check(back, "the hand-written copy");
}
BENCHMARK(HandEncode);

void HandDecode(benchmark::State& state) {
    PortRecord record{};
    Fill(record);
    Stream stream{};
    EncodeByHand(record, stream.data());
    PortRecord back{};
    for (auto _ : state) {
        DecodeByHand(back, stream.data());
        benchmark::DoNotOptimize(&back);
        benchmark::ClobberMemory();
    }
    Check(back, "the hand-written copy");
}
BENCHMARK(HandDecode);

// --- the settings stream ---

void CheckSet(const qx::CQxUVcpUserModeInterface& set) {
    PortRecord record{};
#define QX_COPY(name, number) record.name = set.name;
    QX_PORT_FIELDS(QX_COPY)
#undef QX_COPY
    Check(record, "the settings stream");
}

void SettingsEncode(benchmark::State& state) {
    qx::CQxUVcpUserModeInterface set;
    Fill(set);
    Stream stream{};
    bool good = true;
    for (auto _ : state) {
        DWORD free_bytes = kStreamSize;
        good = set.Encode(stream.data(), free_bytes) && good;
        benchmark::ClobberMemory();
    }
    PortRecord back{};
    DecodeByHand(back, stream.data());
    Check(back, "the settings stream");
    if (!good)
        state.SkipWithError("encoding failed");
}
BENCHMARK(SettingsEncode);

void SettingsDecode(benchmark::State& state) {
    PortRecord record{};
    Fill(record);
    Stream stream{};
    EncodeByHand(record, stream.data());
    qx::CQxUVcpUserModeInterface set;
    bool good = true;
    for (auto _ : state) {
        DWORD available = kStreamSize;
        good = set.Decode(stream.data(), available) && good;
        benchmark::ClobberMemory();
    }
    CheckSet(set);
    if (!good)
        state.SkipWithError("decoding failed");
}
BENCHMARK(SettingsDecode);

// The bus set has one string, whose value is allocated anew by every decoding.
void BusSettingsEncode(benchmark::State& state) {
    qx::CQxUBusUserModeInterface set;
    set.InterfaceType.text = TEXT("USB");
    Stream stream{};
    bool good = true;
    for (auto _ : state) {
        DWORD free_bytes = stream.size();
        good = set.Encode(stream.data(), free_bytes) && good;
        benchmark::ClobberMemory();
    }
    if (!good)
        state.SkipWithError("encoding failed");
}
BENCHMARK(BusSettingsEncode);

// --- nanopb ---

void NanopbEncode(benchmark::State& state) {
    PortMessage message{};
    Fill(message);
    Stream stream{};
    bool good = true;
    std::size_t size = 0;
    for (auto _ : state) {
        pb_ostream_t out = pb_ostream_from_buffer(stream.data(), stream.size());
        good = pb_encode(&out, &PortMessage_msg, &message) && good;
        size = out.bytes_written;
        benchmark::ClobberMemory();
    }
    PortMessage back{};
    pb_istream_t in = pb_istream_from_buffer(stream.data(), size);
    if (!good || !pb_decode(&in, &PortMessage_msg, &back))
        state.SkipWithError("encoding failed");
    Check(back, "nanopb");
}
BENCHMARK(NanopbEncode);

void NanopbDecode(benchmark::State& state) {
    PortMessage message{};
    Fill(message);
    Stream stream{};
    pb_ostream_t out = pb_ostream_from_buffer(stream.data(), stream.size());
    bool good = pb_encode(&out, &PortMessage_msg, &message);
    PortMessage back{};
    for (auto _ : state) {
        pb_istream_t in = pb_istream_from_buffer(stream.data(), out.bytes_written);
        good = pb_decode(&in, &PortMessage_msg, &back) && good;
        benchmark::ClobberMemory();
    }
    if (!good)
        state.SkipWithError("decoding failed");
    Check(back, "nanopb");
}
BENCHMARK(NanopbDecode);

// --- msgpack-c: an array of 33 numbers ---

void PackRecord(const PortRecord& record, msgpack_sbuffer& buffer) {
    msgpack_packer packer;
    msgpack_packer_init(&packer, &buffer, msgpack_sbuffer_write);
    msgpack_pack_array(&packer, kFields);
#define QX_PACK(name, number) msgpack_pack_uint32(&packer, record.name);
    QX_PORT_FIELDS(QX_PACK)
#undef QX_PACK
}

bool UnpackRecord(PortRecord& record, msgpack_zone& zone, const msgpack_sbuffer& buffer) {
    msgpack_object object;
    std::size_t offset = 0;
    if (msgpack_unpack(buffer.data, buffer.size, &offset, &zone, &object) != MSGPACK_UNPACK_SUCCESS ||
        object.type != MSGPACK_OBJECT_ARRAY || object.via.array.size != kFields)
        return false;
    for (std::size_t i = 0; i != kFields; ++i) {
        if (object.via.array.ptr[i].type != MSGPACK_OBJECT_POSITIVE_INTEGER)
            return false;
    }
#define QX_UNPACK(name, number) \
    record.name = static_cast<std::uint32_t>(object.via.array.ptr[(number)-1].via.u64);
    QX_PORT_FIELDS(QX_UNPACK)
#undef QX_UNPACK
    return true;
}

void MsgpackEncode(benchmark::State& state) {
    PortRecord record{};
    Fill(record);
    msgpack_sbuffer buffer;
    msgpack_sbuffer_init(&buffer);
    for (auto _ : state) {
        msgpack_sbuffer_clear(&buffer);  // keeps its memory
        PackRecord(record, buffer);
        benchmark::ClobberMemory();
    }
    PortRecord back{};
    msgpack_zone zone;
    msgpack_zone_init(&zone, MSGPACK_ZONE_CHUNK_SIZE);
    if (!UnpackRecord(back, zone, buffer))
        state.SkipWithError("encoding failed");
    Check(back, "msgpack-c");
    msgpack_zone_destroy(&zone);
    msgpack_sbuffer_destroy(&buffer);
}
BENCHMARK(MsgpackEncode);

void MsgpackDecode(benchmark::State& state) {
    PortRecord record{};
    Fill(record);
    msgpack_sbuffer buffer;
    msgpack_sbuffer_init(&buffer);
    PackRecord(record, buffer);
    msgpack_zone zone;
    msgpack_zone_init(&zone, MSGPACK_ZONE_CHUNK_SIZE);
    PortRecord back{};
    bool good = true;
    for (auto _ : state) {
        msgpack_zone_clear(&zone);  // keeps its first chunk
        good = UnpackRecord(back, zone, buffer) && good;
        benchmark::ClobberMemory();
    }
    if (!good)
        state.SkipWithError("decoding failed");
    Check(back, "msgpack-c");
    msgpack_zone_destroy(&zone);
    msgpack_sbuffer_destroy(&buffer);
}
BENCHMARK(MsgpackDecode);

}  // namespace

BENCHMARK_MAIN();
