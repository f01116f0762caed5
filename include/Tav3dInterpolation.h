#pragma once

#ifndef TAV3D_EXPORT
#if defined(_WIN32) && defined(TAV3D_BUILDING_LIBRARY)
#define TAV3D_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define TAV3D_EXPORT __declspec(dllimport)
#else
#define TAV3D_EXPORT __attribute__((visibility("default")))
#endif
#endif

class TAV3D_EXPORT CTav3dInterpolation
{
public:
    CTav3dInterpolation();
    ~CTav3dInterpolation();
};
