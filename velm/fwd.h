// velm/fwd.h: forward declarations of the library's classes, for headers that only name them.
#pragma once

class CArchive;
class CDumpContext;
class CFile;
class CFileException;
struct CRuntimeClass;

class ERAuxilaryIndex;
class ERBTreeOnDisk;
class ERCRegexp;
class ERCString;
class ERChunk;
class ERClassRegistration;
class ERDBObject;
class ERDataBase;
class ERFactorialFactory;
class ERFile;
class ERFileManager;
class ERMemPool;
class ERObject;
class ERObjectDataBase;
class ERReference;
class ERVecRep;
class ERVecRepCache;
class velmThreadLocalData;
template <class T>
class t_SmartPtr;

class EREntAngle;
class EREntity;
class EREntity2D;
class EREntity2DWF;
class EREntity3D;
class EREntity3DWF;
class ERArc2D;
class ERArc3D;
class ERArcEllipse2D;
class ERArcEllipse3D;
class ERCircle2D;
class ERCircle3D;
class EREllipse2D;
class EREllipse3D;
class ERFiniteEntity2DWF;
class ERFiniteEntity2DWFBoundedWithAngle;
class ERFiniteEntity3DWF;
class ERFiniteEntity3DWFBoundedWithAngle;
class ERInfLine2D;
class ERInfLine3D;
class ERInfoPoint2D;
class ERInfoPoint3DWF;
class ERLimitedEntity2DWF;
class ERLimitedEntity3DWF;
class ERPlanarEntity3DWF;
class ERPoint12;
class ERPoint12List;
class ERPoint13;
class ERPoint13List;
class ERPolygone2D;
class ERPolygone3D;
class ERPolyline2D;
class ERPolyline3D;
class ERRectangle2D;
class ERRectangle3D;
class ERRegularPolygon2D;
class ERRegularPolygon3D;
class ERRoundedSlot2D;
class ERRoundedSlot3D;
class ERSegment2D;
class ERSegment3D;
class ERTrimmedEntity2DWF;
class ERTrimmedEntity3DWF;

class ERCompCurve2D;
class ERCompCurve3D;
class ERCpoleBezier2D;
class ERCpoleBezier2DR;
class ERCpoleBezier3D;
class ERCpoleBezier3DR;
class ERCpoleNURBS2D;
class ERCpoleNURBS3D;
class ERCpoleRep2D;
class ERCpoleRep3D;
class ERCrvCompPoly2D;
class ERCrvCompPoly3D;
class ERKnot;
class ERKnotVector;
class ERPatchCPoly;
class ERPatchCPoly2D;
class ERPatchCPoly3D;

class ERAnyBoundedSurface;
class ERPlane;
class ERSpoleBezier3D;
class ERSpoleBezier3DR;
class ERSpoleNURBS3D;
class ERSpoleRep;
class ERSurface;
class ERSurfaceBoundary;
class ERTrimmedSurface;
class Nurbs3DToBezier3DRDecomposer;

class ERAnyIsometrie3D;
class ERAnySimilitude3D;
class ERPmIsometrie3D;
class ERPmSimilitude3D;
class ERTr3D;
class ERTr3DRev;
class ERTr3DRevEnveloppe;
class ERTr3DRevRep;
class ERTransfo2D;
class _ERIdentity3D;
class _ERRotation3D;
class _ERScaling3D;
class _ERSimilitude3D;
class _ERSymetrie3D;
class _ERTranslation3D;
class _ERWorkplane;

class CADObjectID;
class ERCMMPoint;
class ERCMMPointWithDiameter;
class ERPersistentPoint2D;
class ERPersistentPoint3D;
class ERPersistentVector3D;
class gmBinaryFlagsEx;
class gmCADGroupStructure;
class gmHashedString;
class gmIDNameSpace;
class gmNamedDBObject;
class gmPersistentPoint3DPair;
class gmTargetPoint;

class ERLimites;
class ERMinimax2D;
class ERMinimax3D;
class ERPoint2D;
class ERPoint3D;
class ERPole2DH;
class ERPole3DH;
class ERVector2D;
class ERVector3D;
template <class T>
class ERSimpleVec;
template <class T>
class ERSimpleVec2;
namespace QuickAlgebra {
template <class T>
class ERVec;
template <class T>
class ERMatrix;
} // namespace QuickAlgebra
