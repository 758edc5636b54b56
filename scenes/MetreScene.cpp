#include "MetreScene.h"

using namespace KorvanPHX2D;

namespace KorvanScenes {

MetreScene::MetreScene(const SceneInfo& info, const SceneOptions& options) : Scene(info, options) {
  xConfigurator::Instance()->cfg_gravity = Vec2(0.0f, kGravity);
  if (xSoftStepSolver* solver = stableSolver()) solver->setLengthScale(kUnitsPerMetre);
  xMaterialDispatcher::Instance()->createMaterial(kMaterial, 1.0f, 0.0f, 0.6f, 0.6f, 0.5f);
  staticMaterial_ = kMaterial;
  entity_ = createEntity<xEntity>();
}

MetreScene::Moved MetreScene::movedFromStart(const SceneBody& b) {
  const Vec3 p = b.body->absPlacement();
  return {p.x - b.startX, p.y - b.startY};
}

}  // namespace KorvanScenes
