#include "host/engine/pan_law.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace host {

namespace {

using std::numbers::pi;

struct Pair {
    double first, second;
};

// From the one to the other, their powers together always 1.
Pair PowerPair(double way) {
    if (way <= 0) return {1, 0};
    if (way >= 1) return {0, 1};
    return {std::cos(way * pi / 2), std::sin(way * pi / 2)};
}

struct Law {
    double near, far, crossed;
};

Law LawOf(PanModel model, double p) {
    const Pair power = PowerPair((1 + p) / 2);  // of the far and the near side
    switch (model) {
    case PanModel::Add: return {1, 1 - p, p};
    case PanModel::Balance0: return {1, 1 - p, 0};
    case PanModel::Balance3: return {power.second, power.first, 0};
    case PanModel::Balance6: return {(1 + p) / 2, (1 - p) / 2, 0};
    case PanModel::ConstantPower:
        return {std::numbers::sqrt2 * power.second, std::numbers::sqrt2 * power.first, 0};
    case PanModel::Film: return {1, PowerPair(p).first, PowerPair(p).second};
    }
    return {1, 1, 0};
}

void AddPoint(std::array<float, kMaxSides>& gains, PanModel model, double x, double y) {
    const auto add = [&](Side side, double gain) { gains[side] += static_cast<float>(gain); };
    const Pair depth = PowerPair((1 - y) / 2);  // of front and rear
    if (model == PanModel::Film) {
        const Pair half = PowerPair(std::fabs(x));  // of the centre and the side
        add(Center, depth.first * half.first);
        add(x < 0 ? Left : Right, depth.first * half.second);
    } else {
        const Pair across = PowerPair((1 + x) / 2);
        add(Left, depth.first * across.first);
        add(Right, depth.first * across.second);
    }
    const Pair across = PowerPair((1 + x) / 2);
    add(RearLeft, depth.second * across.first);
    add(RearRight, depth.second * across.second);
}

}  // namespace

StereoMatrix PanMatrix(PanModel model, double pan, double width) {
    const double p = std::min(1.0, std::fabs(pan));
    const Law law = LawOf(model, p);
    const Side near = pan < 0 ? Left : Right, far = pan < 0 ? Right : Left;
    double way[2][2]{};
    way[near][near] = law.near;
    way[far][far] = law.far;
    way[far][near] = law.crossed;
    // The width comes first: how much of each side stays, and how much of the other one is added.
    const double own = (1 + width) / 2, other = (1 - width) / 2;
    StereoMatrix matrix{};
    for (Side from : {Left, Right})
        for (Side to : {Left, Right})
            matrix[from][to] = static_cast<float>(own * way[from][to] + other * way[1 - from][to]);
    return matrix;
}

RoomMatrix PlaceInRoom(PanModel model, double x, double y, double width, float lfe) {
    x = std::clamp(x, -1.0, 1.0);
    y = std::clamp(y, -1.0, 1.0);
    const double apart = std::clamp(width, 0.0, 1.0) * (1 - std::fabs(x));
    RoomMatrix matrix{};
    AddPoint(matrix[Left], model, x - apart, y);
    AddPoint(matrix[Right], model, x + apart, y);
    for (Side side : {Left, Right}) matrix[side][Lfe] = lfe / 2;
    return matrix;
}

}  // namespace host
