#include "image/opencl/kernels.h"

namespace tarn {

// An image is its memory, the byte at which its top row begins, and the bytes to the row below. What bytes
// are made of is integers, as on the processor, so that both give the same; floats are computed in the
// same order, unfused.

namespace {

const char* const COMMON = R"(
#pragma OPENCL FP_CONTRACT OFF
#define IMAGE(name) global uchar* name, long name##First, long name##Stride
#define PIXEL(name, x, y, size) (name + name##First + name##Stride * (y) + (long)(size) * (x))
int4 load8(global const uchar* p) { return convert_int4(vload4(0, p)); }
void store8(int4 v, global uchar* p) { vstore4(convert_uchar4(v), 0, p); }
float4 loadF(global const uchar* p) { return vload4(0, (global const float*)p); }
void storeF(float4 v, global uchar* p) { vstore4(v, 0, (global float*)p); }
int4 product(int4 a, int4 b) { int4 t = a * b + 128; return (t + (t >> 8)) >> 8; }
)";

const char* const COMPOSITE = R"(
// Modes 0 to 4; weight 16384 is all.
int4 blend8(int4 d, int4 s, int mode, int weight) {
    int full = weight == 16384, w = weight >> 6;
    if (mode == 0) return full ? s : d + (s - d) * (weight * 255 / 16384) / 256;
    if (mode == 3) { int4 p = product(d, s); return full ? p : d - (((d - p) * w) >> 8); }
    if (!full) s = (s * w) >> 8;
    if (mode == 1) return min(d + s, (int4)255);
    if (mode == 2) { int4 r = max(d - s, (int4)0); r.w = d.w; return r; }
    return min(product(d, (int4)(255 - s.w)) + s, (int4)255);
}
float4 blendF(float4 d, float4 s, int mode, int weight) {
    int full = weight == 16384;
    float w = (float)weight / 16384.0f;
    if (mode == 0) return full ? s : d + (s - d) * w;
    if (mode == 3) return full ? d * s : d + (d * s - d) * w;
    if (!full) s = s * w;
    if (mode == 1) return min(d + s, (float4)1.0f);
    if (mode == 2) { float4 r = max(d - s, (float4)0.0f); r.w = d.w; return r; }
    return min(d * (1.0f - s.w) + s, (float4)1.0f);
}

// Destination low and high, source low and high, all in 1/16384 pixel; the source's first and last pixel.
typedef struct { int dstLow, dstHigh, srcLow, srcHigh, first, last; } Axis;
int place(Axis a, int at) {
    long from = (long)at * 16384 + 8192 - a.dstLow, dst = (long)a.dstHigh - a.dstLow, src = (long)a.srcHigh - a.srcLow;
    long most = max(src - 16384, 0l);
    long to = dst > 32768 ? (from - 8192) * most / (dst - 16384) : from * src / dst - 8192;
    long low = src < 16384 ? (long)a.first * 16384 : (long)a.srcLow;
    return (int)min(low + clamp(to, 0l, most), (long)a.last * 16384);
}
int coverage(Axis a, int at) {
    return (int)(min((long)at * 16384 + 16384, (long)a.dstHigh) - max((long)at * 16384, (long)a.dstLow));
}
Axis axis(int8 v) { Axis a = {v.s0, v.s1, v.s2, v.s3, v.s4, v.s5}; return a; }
int4 step8(int4 from, int4 to, int w) { return from + (((to - from) * w + 0x4000) >> 15); }

kernel void composite8(IMAGE(d), IMAGE(s), int8 across, int8 down, int left, int top, int mode) {
    Axis h = axis(across), v = axis(down);
    int x = left + get_global_id(0), y = top + get_global_id(1);
    int px = place(h, x), py = place(v, y), wx = (px & 16383) * 2, wy = (py & 16383) * 2;
    int x0 = px >> 14, y0 = py >> 14, x1 = min(x0 + 1, h.last), y1 = min(y0 + 1, v.last);
    int4 a = load8(PIXEL(s, x0, y0, 4)), b = load8(PIXEL(s, x1, y0, 4));
    int4 l = (a * (32768 - wy) >> 8) + (load8(PIXEL(s, x0, y1, 4)) * wy >> 8);
    int4 r = (b * (32768 - wy) >> 8) + (load8(PIXEL(s, x1, y1, 4)) * wy >> 8);
    int4 pixel = (step8(l, r, wx) + 64) >> 7;
    int weight = (int)((long)coverage(v, y) * coverage(h, x) >> 14);
    global uchar* to = PIXEL(d, x, y, 4);
    store8(blend8(load8(to), pixel, mode, weight), to);
}
kernel void compositeF(IMAGE(d), IMAGE(s), int8 across, int8 down, int left, int top, int mode) {
    Axis h = axis(across), v = axis(down);
    int x = left + get_global_id(0), y = top + get_global_id(1);
    int px = place(h, x), py = place(v, y);
    float wx = (float)(px & 16383) / 16384.0f, wy = (float)(py & 16383) / 16384.0f;
    int x0 = px >> 14, y0 = py >> 14, x1 = min(x0 + 1, h.last), y1 = min(y0 + 1, v.last);
    float4 a = loadF(PIXEL(s, x0, y0, 16)), b = loadF(PIXEL(s, x1, y0, 16));
    float4 l = a + (loadF(PIXEL(s, x0, y1, 16)) - a) * wy, r = b + (loadF(PIXEL(s, x1, y1, 16)) - b) * wy;
    int weight = (int)((long)coverage(v, y) * coverage(h, x) >> 14);
    global uchar* to = PIXEL(d, x, y, 16);
    storeF(blendF(loadF(to), l + (r - l) * wx, mode, weight), to);
}

// Images of one size. The mode goes on after those of the blends: 5 under, 6 cutout.
kernel void layer8(IMAGE(d), IMAGE(s), int mode, int weight) {
    int x = get_global_id(0), y = get_global_id(1);
    global uchar* to = PIXEL(d, x, y, 4);
    int4 under = load8(to), over = load8(PIXEL(s, x, y, 4));
    int4 out = mode == 5 ? blend8(over, under, 4, 16384)
               : mode == 6 ? product(under, (int4)(255 - over.w)) : blend8(under, over, mode, weight);
    store8(out, to);
}
kernel void layerF(IMAGE(d), IMAGE(s), int mode, int weight) {
    int x = get_global_id(0), y = get_global_id(1);
    global uchar* to = PIXEL(d, x, y, 16);
    float4 under = loadF(to), over = loadF(PIXEL(s, x, y, 16));
    float4 out = mode == 5 ? blendF(over, under, 4, 16384)
                 : mode == 6 ? under * (1.0f - over.w) : blendF(under, over, mode, weight);
    storeF(out, to);
}

float4 sample(IMAGE(s), int2 size, int2 at, int isFloat) {
    if (at.x < 0 || at.y < 0 || at.x >= size.x || at.y >= size.y) return (float4)0.0f;
    return isFloat ? loadF(PIXEL(s, at.x, at.y, 16)) : convert_float4(load8(PIXEL(s, at.x, at.y, 4)));
}
kernel void transform(IMAGE(d), IMAGE(s), int2 size, float8 m, int mode, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1);
    float cx = (float)x + 0.5f, cy = (float)y + 0.5f;
    float sx = m.s0 * cx + m.s1 * cy + m.s2 - 0.5f, sy = m.s3 * cx + m.s4 * cy + m.s5 - 0.5f;
    // What is far outside, and what is no number, must not become an index.
    if (!(sx > -1.0f && sy > -1.0f && sx < (float)size.x && sy < (float)size.y)) return;
    int2 at = (int2)((int)floor(sx), (int)floor(sy));
    float wx = sx - (float)at.x, wy = sy - (float)at.y;
    #define AT(i, j) sample(s, sFirst, sStride, size, at + (int2)(i, j), isFloat)
    float4 l = mix(AT(0, 0), AT(0, 1), wy), r = mix(AT(1, 0), AT(1, 1), wy), pixel = mix(l, r, wx);
    if (isFloat) {
        global uchar* to = PIXEL(d, x, y, 16);
        storeF(blendF(loadF(to), pixel, mode, 16384), to);
    } else {
        global uchar* to = PIXEL(d, x, y, 4);
        store8(blend8(load8(to), convert_int4_rte(pixel), mode, 16384), to);
    }
}
)";

const char* const COPY = R"(
// Pixels of so many bytes; the image's size is the source's. turn: 0 clockwise, 1 the other way, 2 by half.
kernel void turned(IMAGE(d), IMAGE(s), int size, int turn, int width, int height) {
    int x = get_global_id(0), y = get_global_id(1);
    int toX = turn == 0 ? height - 1 - y : turn == 1 ? y : width - 1 - x;
    int toY = turn == 0 ? x : turn == 1 ? width - 1 - x : height - 1 - y;
    global uchar *to = PIXEL(d, toX, toY, size), *from = PIXEL(s, x, y, size);
    for (int i = 0; i < size; i++) to[i] = from[i];
}
kernel void frame(IMAGE(d), int width, int height, int edge, float4 color, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1);
    if (x >= edge && y >= edge && x < width - edge && y < height - edge) return;
    if (isFloat)
        storeF(color, PIXEL(d, x, y, 16));
    else
        store8(convert_int4_rte(color * 255.0f).zyxw, PIXEL(d, x, y, 4));
}
)";

const char* const HALVES = R"(
int4 fade8(int4 a, int4 b, int weight) { return (a * (256 - weight) + b * weight + 128) >> 8; }
float4 fadeF(float4 a, float4 b, float weight) { return a * (1.0f - weight) + b * weight; }
)";

const char* const INTERLACE = R"(
kernel void fields(IMAGE(d), IMAGE(s), int height, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1), other = y + 1 < height ? y + 1 : max(y - 1, 0);
    if (isFloat)
        storeF(fadeF(loadF(PIXEL(s, x, y, 16)), loadF(PIXEL(s, x, other, 16)), 0.5f), PIXEL(d, x, y, 16));
    else
        store8(fade8(load8(PIXEL(s, x, y, 4)), load8(PIXEL(s, x, other, 4)), 128), PIXEL(d, x, y, 4));
}
kernel void interlace(IMAGE(d), IMAGE(s), int field, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1);
    if ((y & 1) != field) return;
    if (isFloat)
        storeF(loadF(PIXEL(s, x, y, 16)), PIXEL(d, x, y, 16));
    else
        store8(load8(PIXEL(s, x, y, 4)), PIXEL(d, x, y, 4));
}
)";

const char* const HELP = R"(
kernel void fade(IMAGE(d), IMAGE(a), IMAGE(b), int weight, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1);
    if (isFloat)
        storeF(fadeF(loadF(PIXEL(a, x, y, 16)), loadF(PIXEL(b, x, y, 16)), (float)weight / 256.0f), PIXEL(d, x, y, 16));
    else
        store8(fade8(load8(PIXEL(a, x, y, 4)), load8(PIXEL(b, x, y, 4)), weight), PIXEL(d, x, y, 4));
}
kernel void desaturate(IMAGE(d), int amount, int isFloat) {
    int x = get_global_id(0), y = get_global_id(1);
    if (isFloat) {
        float4 p = loadF(PIXEL(d, x, y, 16));
        float gray = 0.299f * p.x + 0.587f * p.y + 0.114f * p.z;
        float4 out = p + ((float4)gray - p) * ((float)amount / 256.0f);
        out.w = p.w;
        storeF(out, PIXEL(d, x, y, 16));
    } else {
        int4 p = load8(PIXEL(d, x, y, 4));
        int gray = (7471 * p.x + 38470 * p.y + 19595 * p.z + 32768) >> 16;
        int4 out = (p * (256 - amount) + gray * amount + 128) >> 8;
        out.w = p.w;
        store8(out, PIXEL(d, x, y, 4));
    }
}
// The sums of rows, and then those of them along columns, each pixel on its own.
kernel void blurAcross8(IMAGE(s), global uint4* sums, int width, int reach) {
    int x = get_global_id(0), y = get_global_id(1);
    uint4 sum = 0;
    for (int i = -reach; i <= reach; i++) sum += convert_uint4(load8(PIXEL(s, clamp(x + i, 0, width - 1), y, 4)));
    sums[(long)y * width + x] = sum;
}
kernel void blurDown8(IMAGE(d), global const uint4* sums, int width, int height, int reach, uint count) {
    int x = get_global_id(0), y = get_global_id(1);
    uint4 sum = 0;
    for (int i = -reach; i <= reach; i++) sum += sums[(long)clamp(y + i, 0, height - 1) * width + x];
    store8(convert_int4((sum + count / 2) / count), PIXEL(d, x, y, 4));
}
// Means, not sums, so that floats keep their precision.
kernel void blurAcrossF(IMAGE(s), global float4* sums, int width, int reach) {
    int x = get_global_id(0), y = get_global_id(1);
    float4 sum = 0.0f, lost = 0.0f;
    for (int i = -reach; i <= reach; i++) {
        float4 next = loadF(PIXEL(s, clamp(x + i, 0, width - 1), y, 16)) - lost, all = sum + next;
        lost = (all - sum) - next;
        sum = all;
    }
    sums[(long)y * width + x] = sum / (float)(2 * reach + 1);
}
kernel void blurDownF(IMAGE(d), global const float4* sums, int width, int height, int reach, uint count) {
    int x = get_global_id(0), y = get_global_id(1);
    float4 sum = 0.0f, lost = 0.0f;
    for (int i = -reach; i <= reach; i++) {
        float4 next = sums[(long)clamp(y + i, 0, height - 1) * width + x] - lost, all = sum + next;
        lost = (all - sum) - next;
        sum = all;
    }
    storeF(sum / (float)(2 * reach + 1), PIXEL(d, x, y, 16));
}
)";

const char* const YUV = R"(
int scaled(int a, int b) { return (a * b + 0x4000) >> 15; }
int channel(int v) { return clamp(v >> 6, 0, 255); }
// Bytes to the samples of U and V of an image in one block, and from one to the next.
kernel void video(IMAGE(d), global const uchar* s, long uFirst, long vFirst, int yStride, int chromaStride, int chromaStep,
                  int chromaDown, int8 fixed) {
    int x = get_global_id(0), y = get_global_id(1);
    long at = (long)(y >> chromaDown) * chromaStride + (x >> 1) * chromaStep;
    int u = (s[uFirst + at] - 128) * 256, v = (s[vFirst + at] - 128) * 256;
    int luma = (s[(long)y * yStride + x] * 257 * fixed.s1 >> 16) + fixed.s0;
    int green = scaled(u, fixed.s3) + scaled(v, fixed.s4);
    store8((int4)(channel(luma + scaled(u, fixed.s5)), channel(luma - green), channel(luma + scaled(v, fixed.s2)), 255),
           PIXEL(d, x, y, 4));
}
)";

}  // namespace

KernelSourceText KernelSource(KernelFamily family) {
    switch (family) {
    case KernelFamily::Composite: return {{COMMON, COMPOSITE}};
    case KernelFamily::Copy: return {{COMMON, COPY}};
    case KernelFamily::Interlace: return {{COMMON, HALVES, INTERLACE}};
    case KernelFamily::Help: return {{COMMON, HALVES, HELP}};
    case KernelFamily::Yuv: break;
    }
    return {{COMMON, YUV}};
}

}  // namespace tarn
