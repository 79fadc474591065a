#include <brelldata/data/Normal.h>

#include <cmath>

namespace {

// Lengths around this one separate a usable vector from a degenerate one.
constexpr double kDegenerateLength = 1e-6;

template <class T>
void ClearAll(CArrayDataStore<CVector_3<T>>& normals)
{
    CVector_3<T>* normal = normals.Buffer();
    const int number = normals.Number();
    for (int i = 0; i < number; ++i) normal[i] = CVector_3<T>{0, 0, 0};
}

}  // namespace

CVector_3<double> CalcNormal(CRefData<CArrayDataStore<VERTEX>>& vertices, int* indices, int number)
{
    if (number < 3 || indices == nullptr) return {0.0, 0.0, 0.0};
    const VERTEX& p0 = vertices->Element(indices[0]);
    const VERTEX& p1 = vertices->Element(indices[1]);
    const VERTEX& p2 = vertices->Element(indices[2]);
    const CVector_3<double> a{p2.x - p1.x, p2.y - p1.y, p2.z - p1.z};
    const CVector_3<double> b{p0.x - p1.x, p0.y - p1.y, p0.z - p1.z};
    CVector_3<double> normal{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    const double length = std::sqrt(normal.x * normal.x + normal.y * normal.y + normal.z * normal.z);
    if (length > kDegenerateLength) {
        const double scale = 1.0 / length;
        normal.x *= scale;
        normal.y *= scale;
        normal.z *= scale;
    }
    return normal;
}

void ClearNormal(CRefData<CArrayDataStore<CVector_3<double>>>& normals)
{
    ClearAll(*normals);
}

void ClearFloatNormal(CRefData<CArrayDataStore<CVector_3<float>>>& normals)
{
    ClearAll(*normals);
}

void UnitNormal(CRefData<CArrayDataStore<CVector_3<double>>>& normals)
{
    CVector_3<double>* normal = normals->Buffer();
    const int number = normals->Number();
    for (int i = 0; i < number; ++i) {
        CVector_3<double>& n = normal[i];
        const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
        if (length >= kDegenerateLength) {
            const double scale = 1.0 / length;
            n.x *= scale;
            n.y *= scale;
            n.z *= scale;
        } else {
            n.x = 1.0;
        }
    }
}

void UnitFloatNormal(CRefData<CArrayDataStore<CVector_3<float>>>& normals)
{
    CVector_3<float>* normal = normals->Buffer();
    const int number = normals->Number();
    for (int i = 0; i < number; ++i) {
        CVector_3<float>& n = normal[i];
        const double x = n.x;
        const double y = n.y;
        const double z = n.z;
        const double length = std::sqrt(x * x + y * y + z * z);
        if (length >= kDegenerateLength) {
            const float scale = static_cast<float>(1.0 / length);
            n.x *= scale;
            n.y *= scale;
            n.z *= scale;
        } else {
            n.x = 1.0f;
        }
    }
}
