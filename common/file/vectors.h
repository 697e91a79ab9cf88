// vector2, vector3, vector4: plain value types of 2, 3 and 4 consecutive float
// components. The library only moves them to and from streams, component by component
// in memory order; what the components mean is the host's business. They are built
// from their components, or by braces; a default-built one is left unset.
#pragma once

// Two components, x y in memory order.
struct vector2
{
    vector2() = default;
    // The components in their order.
    vector2(float fX, float fY) : x(fX), y(fY) {}

    float x; // the first component
    float y; // the second component
};

// Three components, x y z in memory order.
struct vector3
{
    vector3() = default;
    // The components in their order.
    vector3(float fX, float fY, float fZ) : x(fX), y(fY), z(fZ) {}

    float x; // the first component
    float y; // the second component
    float z; // the third component
};

// Four components, x y z w in memory order.
struct vector4
{
    vector4() = default;
    // The components in their order.
    vector4(float fX, float fY, float fZ, float fW) : x(fX), y(fY), z(fZ), w(fW) {}

    float x; // the first component
    float y; // the second component
    float z; // the third component
    float w; // the fourth component
};

static_assert(sizeof(vector2) == 8 && sizeof(vector3) == 12 && sizeof(vector4) == 16,
              "vectors are consecutive 4-byte components");
