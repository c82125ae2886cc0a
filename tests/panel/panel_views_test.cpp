#include "panel/content_view.h"
#include "panel/online_swift_ui_embedder.h"
#include "panel/panel_fixture.h"
#include "panel/qr_code_view.h"
#include "panel/rows.h"
#include "panel/titled_box.h"
#include "support/code_photo.h"

#include <gmock/gmock.h>

#include <QImage>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <memory>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// The panel on a screen that nobody sees, 560 x 860.
class PanelViewsTest : public PanelServerTest {
 protected:
  PanelViewsTest() {
    panel_.resize(panel_.sizeHint());
    panel_.show();
    settle();
  }

  void settle() {
    scheduler_.runPending();
    QApplication::processEvents();
  }

  void clickButton() {
    QTest::mouseClick(button(), Qt::LeftButton);
    settle();
  }
  QPushButton* button() { return panel_.findChild<QPushButton*>(); }

  void clientSays(int port, const std::string& text) {
    PanelServerTest::clientSays(port, text);
    settle();
  }

  /// The visible widgets of a kind, from top to bottom.
  template <typename Widget>
  std::vector<Widget*> visible() {
    std::vector<Widget*> result;
    for (auto* child : panel_.findChildren<QWidget*>()) {
      auto* const widget = dynamic_cast<Widget*>(child);
      if (widget != nullptr && widget->isVisible()) result.push_back(widget);
    }
    return result;
  }
  /// What a screen reader says of them.
  template <typename Widget>
  std::vector<std::string> said() {
    std::vector<std::string> names;
    for (const auto* widget : visible<Widget>()) {
      names.push_back(widget->accessibleName().toStdString());
    }
    return names;
  }
  std::vector<std::string> texts() {
    std::vector<std::string> result;
    for (const auto* label : visible<QLabel>()) result.push_back(label->text().toStdString());
    return result;
  }

  ContentView panel_{scheduler_, std::move(server_), [](const QString& key) {
                       return key == "pairing_instructions" ? "Scan the code" : key;
                     }};
};

const std::vector<std::string> kBoxesWithCode = {"Información del Servidor", "Estadísticas",
                                                 "📱 Código QR para Conectar", "Captura de Audio"};
const std::vector<std::string> kBoxesWithClients = {"Información del Servidor", "Estadísticas",
                                                    "Clientes Conectados", "Captura de Audio"};

TEST_F(PanelViewsTest, FollowsItsServerFromStopToStop) {
  EXPECT_EQ(button()->accessibleName(), "Iniciar Servidor");
  EXPECT_THAT(texts(), Contains("Detenido"));
  EXPECT_THAT(texts(), Contains("Servidor detenido"));
  EXPECT_THAT(said<TitledBox>(), IsEmpty());

  clickButton();
  EXPECT_EQ(button()->accessibleName(), "Detener Servidor");
  EXPECT_THAT(texts(), Contains("Activo"));
  EXPECT_THAT(texts(), Not(Contains("Servidor detenido")));
  EXPECT_EQ(said<TitledBox>(), kBoxesWithCode);

  clientSays(1, "<<HELLO>>");
  EXPECT_EQ(said<TitledBox>(), kBoxesWithClients);
  clientSays(1, "<<STOP>>");
  EXPECT_EQ(said<TitledBox>(), kBoxesWithCode);

  clickButton();
  EXPECT_EQ(button()->accessibleName(), "Iniciar Servidor");
  EXPECT_THAT(texts(), Contains("Servidor detenido"));
  EXPECT_THAT(said<TitledBox>(), IsEmpty());
}

TEST_F(PanelViewsTest, ListsClientsAndChangesOnlyWhoCameOrWent) {
  clickButton();
  for (int port : {1, 2, 3}) clientSays(port, "<<HELLO>>");
  for (int i = 0; i < 250; ++i) capture_->deliver();
  scheduler_.advance(5s);
  settle();
  EXPECT_THAT(said<ClientRow>(), ElementsAre("10.0.0.1:1", "10.0.0.1:2", "10.0.0.1:3"));
  EXPECT_THAT(said<ValueRow>(), Contains("IP Local 192.168.1.20"));
  EXPECT_THAT(said<ValueRow>(), Contains("Clientes 3"));
  EXPECT_THAT(said<ValueRow>(), Contains("Paquetes/seg 50.0 pkt/s"));
  EXPECT_THAT(said<ValueRow>(), Contains("Velocidad 1378.1 Kbps"));

  const auto* first = visible<ClientRow>().front();
  clientSays(2, "<<STOP>>");
  EXPECT_THAT(said<ClientRow>(), ElementsAre("10.0.0.1:1", "10.0.0.1:3"));
  EXPECT_EQ(visible<ClientRow>().front(), first) << "the row that stays is the same widget";
}

TEST_F(PanelViewsTest, TheCodeIsReadFromTheScreen) {
  clickButton();
  EXPECT_THAT(testing::codesOn(panel_), ElementsAre("192.168.1.20:9000"));
  EXPECT_THAT(texts(), Contains("Scan the code"));
}

TEST_F(PanelViewsTest, ScrollsInASmallWindowAndOnlyThen) {
  clickButton();
  auto* bar = panel_.findChild<QScrollArea*>()->verticalScrollBar();
  panel_.resize(560, 500);
  settle();
  EXPECT_GT(bar->maximum(), 0);
  panel_.resize(720, 2000);
  settle();
  EXPECT_EQ(bar->maximum(), 0);
}

TEST(QRCodeView, SaysSoWhenNoCodeHoldsTheText) {
  QRCodeView view(QString(5000, 'x'));
  view.resize(250, 250);
  QImage image(view.size(), QImage::Format_ARGB32);
  image.fill(Qt::black);
  view.render(&image, {}, {}, {});
  EXPECT_NEAR(image.pixelColor(125, 20).red(), 0.3 * 142, 2) << "grey, seen through";
}

TEST(Embedder, IsFoundByItsNameOrNotAtAll) {
  dispatch::SimulatedScheduler scheduler;
  ViewRegistry registry;
  EXPECT_EQ(registry.make("OnlineSwiftUIEmbedder", "makeHostingView"), nullptr);
  OnlineSwiftUIEmbedder::addTo(registry,
                               {scheduler, nullptr, [](const QString& key) { return key; }});
  EXPECT_EQ(registry.make("OnlineSwiftUIEmbedder", "makeView"), nullptr);
  const auto view = registry.make("OnlineSwiftUIEmbedder", "makeHostingView");
  ASSERT_NE(dynamic_cast<ContentView*>(view.get()), nullptr);
  EXPECT_FALSE(dynamic_cast<ContentView&>(*view).server().isRunning());
}

}  // namespace
}  // namespace quorin::panel
