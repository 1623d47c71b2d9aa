#include "drawer/drawer.h"

#include <vector>

#include "base/ebo.h"
#include "base/framebuffer.h"
#include "base/program.h"
#include "base/programCache.h"
#include "base/vao.h"
#include "base/vbo.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr char kVersion[] = "#version 410 core\n";

}  // namespace

QuadCorners SceneTexCoords(const FrameBuffer& scene) {
  const ContentRect content = scene.Content();
  if (content.storageWidth == 0) return {glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(1, 0), glm::vec2(1, 1)};
  return ContentTexCoords(content, 0);
}

SceneMapping SceneMapping::Of(const FrameBuffer& scene) {
  const ContentRect content = scene.Content();
  if (content.storageWidth == 0) return {};
  return {content.Origin(),
          {static_cast<double>(content.storageWidth) / content.width,
           static_cast<double>(content.storageHeight) / content.height}};
}

Drawer::~Drawer() {
  if (program_ != nullptr) programs_.Return(program_);
}

bool Drawer::_BeginDraw(const ProgramSource& source, const char* noSceneMessage, std::source_location where) {
  if (scene_ == nullptr) {
    LogLocated(kLogError, noSceneMessage, where);
    return false;
  }
  std::string fragment = kVersion;
  for (const char* part : source.fragment) fragment += part;
  program_ = programs_.Get(source.name, std::string(kVersion) + source.vertex, fragment);
  return program_ != nullptr && program_->Bind() && scene_->Bind();
}

void Drawer::EndDraw() {
  if (scene_ != nullptr) scene_->UnBind();
  if (program_ != nullptr) {
    program_->UnBind();
    programs_.Return(program_);
  }
  scene_ = nullptr;
  program_ = nullptr;
}

glm::mat4 Drawer::_Mvp(const ModelTransform& model) const {
  return scene_->camera.Projection() * scene_->camera.View() * model.Matrix();
}

bool Drawer::_DrawSceneQuad() {
  const ContentRect content = scene_->Content();
  const float x = static_cast<float>(content.width) / 2;
  const float y = static_cast<float>(content.height) / 2;
  return _DrawQuad({glm::vec3(-x, y, 0), glm::vec3(-x, -y, 0), glm::vec3(x, -y, 0), glm::vec3(x, y, 0)},
                   SceneTexCoords(*scene_));
}

bool Drawer::_DrawQuad(const Positions& positions, const QuadCorners& texCoords) {
  std::vector<float> positionValues;
  std::vector<float> texCoordValues;
  for (const glm::vec3& position : positions) {
    positionValues.insert(positionValues.end(), {position.x, position.y, position.z});
  }
  for (const glm::vec2& coord : texCoords) texCoordValues.insert(texCoordValues.end(), {coord.x, coord.y});
  VBO vbo;
  vbo.SetPositions(positionValues);
  vbo.SetTexCoords(texCoordValues);
  EBO ebo;
  ebo.LoadIndices({0, 1, 2, 2, 3, 0});
  ebo.mode = GL_TRIANGLES;
  return DrawVertexes(&vbo, &ebo);
}

bool Drawer::DrawVertexes(VBO* vbo, EBO* ebo) { return vbo != nullptr && ebo != nullptr && DrawElements(*vbo, *ebo); }

}  // namespace qvg
