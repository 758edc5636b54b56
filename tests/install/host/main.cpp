// A host program that knows the engine only through its installed package.
#include <KorvanPhysics2D/KorvanPhysics2D.h>

#include <cstdio>

using namespace KorvanPHX2D;

int main() {
  kvnCreateKorvanSDK();
  xBody3DOFDesc desc;
  xBody* body = g_ptrSDK->createBody(desc);
  body->setRelPlacement(Vec3(0.0f, 0.0f, 0.0f));
  body->initialize();
  for (int i = 0; i < 60; ++i) g_ptrSDK->updateF(1.0f / 60.0f);
  const float y = body->absPlacement().y;
  delete body;
  kvnDestroyKorvanSDK();
  // Gravity points along +y by default.
  if (y > 4.0f && y < 5.5f) {
    std::printf("host: body fell to y = %.3f\n", y);
    return 0;
  }
  std::printf("host: unexpected y = %.3f\n", y);
  return 1;
}
