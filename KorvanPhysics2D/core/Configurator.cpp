#include <KorvanPhysics2D/core/Configurator.h>

#include <new>

namespace KorvanPHX2D {

xConfigurator* xConfigurator::cfg_ptrInstance = nullptr;

xConfigurator* xConfigurator::Instance() {
  if (cfg_ptrInstance == nullptr) cfg_ptrInstance = new (std::nothrow) xConfigurator();
  return cfg_ptrInstance;
}

xConfigurator::xConfigurator()
    : cfg_reserved(0),
      cfg_gravity(0.0f, 9.81f),
      cfg_maxSubstep(0.01f),
      cfg_allowedPenetration(0.025f),
      cfg_solverTolerance(0.1f),
      cfg_restLinearVelocity(0.0031622f),
      cfg_restAngularVelocity(0.0031622f),
      cfg_reserved1(0.5f),
      cfg_reserved2(0.0f),
      cfg_reserved3(0.8f),
      cfg_velocityDamping(0.997f),
      cfg_autoDeactivate(false),
      cfg_substepping(false),
      cfg_preventTunneling(false),
      cfg_skipSeparatingContacts(true),
      cfg_friction(true),
      cfg_restitution(true),
      cfg_relativeTolerance(true),
      cfg_angularDrag(false),
      cfg_fullStepIntegration(false),
      cfg_storeSolutions(false),
      cfg_reservedFlag1(false),
      cfg_reservedFlag2(false),
      cfg_reservedFlag3(false),
      cfg_lastSubsteps(0),
      cfg_maxIterations(50) {}

xConfigurator::~xConfigurator() = default;

void xConfigurator::init() {}

}  // namespace KorvanPHX2D
