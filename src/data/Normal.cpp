#include <brelldata/data/Normal.h>

#include <algorithm>
#include <cmath>

namespace {

// Lengths around this one separate a usable vector from a degenerate one.
constexpr double kDegenerateLength = 1e-6;

double MaxMagnitude(const CVector_3<double>& v)
{
    return std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
}

CVector_3<double> Cross(const CVector_3<double>& a, const CVector_3<double>& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Length(const CVector_3<double>& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

void Scale(CVector_3<double>& v, double scale)
{
    v.x *= scale;
    v.y *= scale;
    v.z *= scale;
}

// v at length 1 when its squares overflow although its length would not:
// divided by its largest magnitude first. Every length in the ordinary
// range takes the plain path, so its result stays the same bit for bit.
void UnitOfHuge(CVector_3<double>& v)
{
    const double largest = MaxMagnitude(v);
    if (!std::isfinite(largest)) return;
    Scale(v, 1.0 / largest);
    Scale(v, 1.0 / Length(v));
}

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
    CVector_3<double> a{p2.x - p1.x, p2.y - p1.y, p2.z - p1.z};
    CVector_3<double> b{p0.x - p1.x, p0.y - p1.y, p0.z - p1.z};
    CVector_3<double> normal = Cross(a, b);
    const double length = Length(normal);
    if (std::isinf(length) && std::isfinite(MaxMagnitude(a)) && std::isfinite(MaxMagnitude(b))) {
        // The cross product or its squares overflow: the edges are scaled
        // down first, which changes the normal's length but not its direction.
        Scale(a, 1.0 / MaxMagnitude(a));
        Scale(b, 1.0 / MaxMagnitude(b));
        normal = Cross(a, b);
        UnitOfHuge(normal);
    } else if (length > kDegenerateLength) {
        Scale(normal, 1.0 / length);
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
        const double length = Length(n);
        if (std::isinf(length)) {
            UnitOfHuge(n);
        } else if (length >= kDegenerateLength) {
            Scale(n, 1.0 / length);
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
