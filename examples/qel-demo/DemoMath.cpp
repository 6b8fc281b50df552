#include "QelDemo.h"

#include "qel/math/QelBox3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/math/QelRay.h"
#include "qel/math/QelVecColor.h"

#include <cstdio>
#include <vector>

namespace
{
void Run(QelDemoApp&)
{
    const QelVec3 vEye(4, 3, 5), vTarget(0, 0, 0), vUp(0, 1, 0);
    QelMatrix4 view;
    view.LookAt(vEye, vTarget, vUp);
    std::printf("  camera at %s looking at %s:\n%s", vEye.String().c_str(), vTarget.String().c_str(),
                view.String().c_str());

    // A picking ray through the middle of the screen, back in world space through the inverse view.
    QelMatrix4 inverse = view;
    if (!inverse.Invert())
        std::printf("  the view matrix is singular\n");
    const QelVec3 vStart = inverse * QelVec3(0, 0, 0);
    const QelVec3 vAhead = inverse * QelVec3(0, 0, -1);
    const QelRay ray(vStart, vAhead - vStart);
    std::printf("  picking ray:\n%s", ray.String().c_str());

    const QelBox3 box(QelVec3(-1, -1, -1), QelVec3(1, 1.5f, 1));
    std::printf("  box:\n%s", box.String().c_str());
    QelVec3 vHit;
    if (box.IsRayIntersecting(ray, vHit, true, 1e-4f))
        std::printf("  the ray hits the box at %s, %g units from the camera\n", vHit.String().c_str(),
                    double(vHit.DistanceTo(vStart)));
    else
        std::printf("  the ray misses the box\n");

    // The same box turned 30 degrees about Y, as a node's extents would be.
    QelMatrix4 turn;
    turn.Rotate(QelVec3::kUnitY, 30);
    std::printf("  its bounds after a 30 degree turn about Y:\n%s", (box * turn).String().c_str());
    const QelVec4 aa = turn.ConvertToAxisAngle();
    std::printf("  the turn back as axis and angle: %s\n", aa.String().c_str());

    // Colors: truncating byte conversion and a color picked away from the existing hues.
    const QelVecColor c(1.0, 0.5, 0.0, 1.0);
    std::printf("  color %s is ARGB 0x%08X\n", c.String().c_str(), unsigned(c.ToARGB()));
    QelVec4 vNext;
    vNext.MakeBestColor({QelVec4(1, 0, 0, 1), QelVec4(0, 1, 0, 1)});
    std::printf("  next color beside red and green: %s\n", vNext.String().c_str());
}

QelDemoSection s_section(20, "Math: vectors, matrices and picking", Run);
} // namespace
