#pragma once

#include <brelldata/Export.h>
#include <brelldata/data/ArrayDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>

// Face and bulk normal computation on shared stores. The stores change in
// place, so every holder sees the result; counts never change.

// Right-handed unit normal of the corners indices[0], indices[1], indices[2]
// (the only ones read) in that order. (0, 0, 0) when number < 3 or indices is
// null; a cross product of length 1e-6 or less comes back unscaled. An index
// outside the store reads the spare vertex.
BRELL_API CVector_3<double> CalcNormal(CRefData<CArrayDataStore<VERTEX>>& vertices, int* indices, int number);

// Sets every normal in use to (0, 0, 0).
BRELL_API void ClearNormal(CRefData<CArrayDataStore<CVector_3<double>>>& normals);
BRELL_API void ClearFloatNormal(CRefData<CArrayDataStore<CVector_3<float>>>& normals);

// Scales every normal in use to length 1; one shorter than 1e-6 gets x = 1
// and keeps its y and z.
BRELL_API void UnitNormal(CRefData<CArrayDataStore<CVector_3<double>>>& normals);
// As UnitNormal, with the length in double precision and its reciprocal
// rounded to float before scaling.
BRELL_API void UnitFloatNormal(CRefData<CArrayDataStore<CVector_3<float>>>& normals);
