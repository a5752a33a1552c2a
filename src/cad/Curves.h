#pragma once
// Lines, circles, arcs and polylines: the geometry the system reads and makes.

#include <vector>

#include "cad/Entity.h"

namespace cad {

// A LINE.
class Line : public Entity {
public:
    using Entity::Entity;
    Point3 Start() const { return GetPoint(10); }
    Point3 End() const { return GetPoint(11); }
    void SetStart(Point3 p) { SetPoint(10, p, "AcDbLine"); }
    void SetEnd(Point3 p) { SetPoint(11, p, "AcDbLine"); }
};

// A CIRCLE, and the circle part of an ARC.
class Circle : public Entity {
public:
    using Entity::Entity;
    Point3 Center() const { return GetPoint(10); }
    void SetCenter(Point3 p) { SetPoint(10, p, "AcDbCircle"); }
    // The radius (40); 0 when missing.
    double Radius() const { return GetReal(40, 0); }
    void SetRadius(double r) { SetReal(40, r, "AcDbCircle"); }
};

// An ARC; angles in radians, counter-clockwise from the x axis of its plane.
class Arc : public Circle {
public:
    using Circle::Circle;
    double StartAngle() const;
    double EndAngle() const;
    void SetStartAngle(double radians);
    void SetEndAngle(double radians);
};

// One vertex of a lightweight polyline.
struct PolylinePoint {
    double x = 0, y = 0;
    double bulge = 0;
    double startWidth = 0, endWidth = 0;
    bool operator==(const PolylinePoint&) const = default;
};

// An LWPOLYLINE (R14 and later).
class LwPolyline : public Entity {
public:
    using Entity::Entity;
    // The vertices in order; widths 0 when the file gives none.
    std::vector<PolylinePoint> Points() const;
    // Replaces the vertices; the count (90) follows.
    void SetPoints(const std::vector<PolylinePoint>& points);
    // Closed (flag 1 of 70).
    bool IsClosed() const { return (GetInt(70, 0) & 1) != 0; }
    void SetClosed(bool closed);
    // The elevation (38); 0 when missing.
    double Elevation() const { return GetReal(38, 0); }
};

// A VERTEX of a POLYLINE.
class Vertex : public Entity {
public:
    using Entity::Entity;
    Point3 Location() const { return GetPoint(10); }
    void SetLocation(Point3 p) { SetPoint(10, p, "AcDbVertex"); }
    double Bulge() const { return GetReal(42, 0); }
    int Flags() const { return static_cast<int>(GetInt(70, 0)); }
};

// A POLYLINE with its VERTEX records and SEQEND (2D, 3D, mesh and face forms alike).
class Polyline : public Entity {
public:
    using Entity::Entity;
    // The vertices in order.
    std::vector<Vertex> Vertices() const;
    // Closed (flag 1 of 70).
    bool IsClosed() const { return (GetInt(70, 0) & 1) != 0; }
    void SetClosed(bool closed);
    // Adds a vertex before the SEQEND (making one when missing).
    Vertex AppendVertex(Point3 p, double bulge = 0);
};

}  // namespace cad
