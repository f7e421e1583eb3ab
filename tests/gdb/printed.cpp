// What the debugger's printers are tried on; GDB stops in look().
#include <velm/velm.h>

void look() {}

int main() {
    ERPoint2D point2(1.5, -2.0);
    ERPoint3D point3(0.1, 2.0, 1e300);
    ERVector3D vector3(0.0, 0.0, 1.0);
    ERPole2DH pole2(2.0, 4.0, 2.0);
    ERLimites interval(0.0, 1.0);
    ERMinimax2D empty_box;
    ERMinimax3D box;
    box.Update(point3);
    box.Update(ERPoint3D(0.0, 5.0, 0.0));

    ERVec<double> no_numbers;
    ERVec<double> numbers{1.0, 2.5};
    ERVec<ERPoint2D> points{{0.0, 0.0}, {1.0, 1.0}};
    ERVec<ERPoint2D> shared_points = points;
    ERSimpleVec2<int> table(2, 2, 9);
    ERMatrix<double> matrix(1, 2);
    ERCString text("a \"b\"");
    ERCString no_text;

    t_SmartPtr<ERObject> nothing;
    t_SmartPtr<ERFiniteEntity2DWF> edge(new ERSegment2D(point2, ERPoint2D(4.0, 0.5)));
    t_SmartPtr<ERFiniteEntity2DWF> same = edge;
    ERObject& object = *edge;
    look();
    return numbers.size() + table.rows() + shared_points.size() + object.isDirty() == 6 ? 0 : 1;
}
