// vector2, vector3, vector4: plain value types of 2, 3 and 4 consecutive float
// components. The library only moves them to and from streams, component by component
// in memory order; what the components mean is the host's business.
#pragma once

struct vector2
{
    float x;
    float y;
};

struct vector3
{
    float x;
    float y;
    float z;
};

struct vector4
{
    float x;
    float y;
    float z;
    float w;
};

static_assert(sizeof(vector2) == 8 && sizeof(vector3) == 12 && sizeof(vector4) == 16,
              "vectors are consecutive 4-byte components");
