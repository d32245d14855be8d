import 'dart:async';

import 'package:flutter/services.dart';
import 'package:flutter/widgets.dart';
import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/orbisk.dart';

import 'support/mock_plugin.dart';

void main() {
  late MockPlugin plugin;

  setUp(() => plugin = MockPlugin()..install());
  tearDown(() => plugin.remove());

  /// Shows [child] in a window of logical pixels.
  Future<void> show(WidgetTester tester, Widget child, {Size size = const Size(800, 600), double ratio = 1}) async {
    tester.view.physicalSize = size * ratio;
    tester.view.devicePixelRatio = ratio;
    addTearDown(tester.view.reset);
    await tester.pumpWidget(Directionality(textDirection: TextDirection.ltr, child: child));
    await tester.pump();
    await tester.pump();
  }

  /// Takes the widgets away, and lets what they have started end.
  Future<void> leave(WidgetTester tester) async {
    await tester.pumpWidget(const SizedBox());
    await tester.pump(const Duration(seconds: 2));
  }

  group('OrbiskView', () {
    testWidgets('opens, loads, starts and shows the texture', (WidgetTester tester) async {
      await show(tester, const OrbiskView(model: 'assets/device.glb'));
      expect(plugin.steps, <String>['dispose', 'createTexture', 'loadModel', 'startRendering']);
      expect(tester.widget<Texture>(find.byType(Texture)).textureId, 7);
      await leave(tester);
      expect(plugin.steps.last, 'dispose');
      expect(plugin.callsOf('dispose'), hasLength(2));
    });

    testWidgets('keeps 4:3 in the middle of its space', (WidgetTester tester) async {
      await show(tester, const OrbiskView(model: 'a.glb'), size: const Size(1000, 300));
      expect(tester.getRect(find.byType(Texture)), const Rect.fromLTWH(300, 0, 400, 300));
      await show(tester, const OrbiskView(model: 'a.glb'), size: const Size(400, 700));
      expect(tester.getRect(find.byType(Texture)), const Rect.fromLTWH(0, 200, 400, 300));
      await leave(tester);
    });

    testWidgets('stretches on request', (WidgetTester tester) async {
      await show(tester, const OrbiskView(model: 'a.glb', fit: OrbiskFit.fill), size: const Size(1000, 300));
      expect(tester.getSize(find.byType(Texture)), const Size(1000, 300));
      await leave(tester);
    });

    testWidgets('finds a size where its space has no end', (WidgetTester tester) async {
      await show(
        tester,
        const Center(child: UnconstrainedBox(child: OrbiskView(model: 'a.glb'))),
        size: const Size(400, 300),
        ratio: 2,
      );
      expect(tester.getSize(find.byType(Texture)), const Size(320, 240));
      await leave(tester);
    });

    testWidgets('takes as many pixels as the screen has there, when told to', (WidgetTester tester) async {
      const Widget view = OrbiskView(model: 'a.glb', resolution: OrbiskResolution.device(maxWidth: 1000));
      await show(tester, view, size: const Size(400, 600), ratio: 2);
      expect(plugin.callsOf('createTexture').single.arguments, <String, int>{'width': 800, 'height': 600});

      // Not for a little.
      await show(tester, view, size: const Size(380, 600), ratio: 2);
      await tester.pump(const Duration(seconds: 1));
      expect(plugin.callsOf('createTexture'), hasLength(1));

      // For half the size, once it lasts; and never more than the most.
      await show(tester, view, size: const Size(200, 600), ratio: 2);
      await tester.pump(OrbiskView.resizeTime);
      await tester.pump();
      expect(plugin.callsOf('createTexture').last.arguments, <String, int>{'width': 400, 'height': 300});
      await show(tester, view, size: const Size(900, 900), ratio: 2);
      await tester.pump(OrbiskView.resizeTime);
      await tester.pump();
      expect(plugin.callsOf('createTexture').last.arguments, <String, int>{'width': 1000, 'height': 750});
      expect(plugin.callsOf('createTexture'), hasLength(3));
      await leave(tester);
    });

    testWidgets('shows the placeholder until the first frame, over the texture', (WidgetTester tester) async {
      plugin.hold('startRendering');
      await show(
        tester,
        OrbiskView(model: 'a.glb', placeholderBuilder: (BuildContext context) => const Text('wait')),
      );
      expect(find.byType(Texture), findsOneWidget);
      expect(find.text('wait'), findsOneWidget);
      plugin.letGo('startRendering');
      await tester.pump();
      await tester.pump(OrbiskView.firstFrameTime - const Duration(milliseconds: 1));
      expect(find.text('wait'), findsOneWidget);
      await tester.pump(const Duration(milliseconds: 1));
      expect(find.text('wait'), findsNothing);
      await leave(tester);
    });

    testWidgets('says what has failed', (WidgetTester tester) async {
      plugin.failures['loadModel'] = PlatformException(code: 'LOAD_FAILED', message: 'fail: read file');
      await show(tester, const OrbiskView(model: 'a.glb'));
      expect(find.textContaining('fail: read file'), findsOneWidget);
      await leave(tester);
    });

    testWidgets('lets the application say what has failed', (WidgetTester tester) async {
      plugin.failures['createTexture'] = PlatformException(code: 'INIT_FAILED', message: 'no EGL');
      await show(
        tester,
        OrbiskView(
          model: 'a.glb',
          errorBuilder: (BuildContext context, OrbiskHealth health) => Text('sorry: ${health.error?.code}'),
        ),
      );
      expect(find.text('sorry: INIT_FAILED'), findsOneWidget);
      expect(find.byType(Texture), findsNothing);
      await leave(tester);
    });

    testWidgets('another model is loaded into the same texture', (WidgetTester tester) async {
      await show(tester, const OrbiskView(model: 'a.glb'));
      await show(tester, const OrbiskView(model: 'b.glb'));
      expect(plugin.callsOf('createTexture'), hasLength(1));
      expect(plugin.callsOf('loadModel').last.arguments, <String, String>{'modelPath': 'b.glb'});
      await leave(tester);
    });

    testWidgets('only shows what the application does with a controller', (WidgetTester tester) async {
      final OrbiskController controller = OrbiskController();
      await show(tester, OrbiskView(controller: controller));
      expect(plugin.calls, isEmpty);
      await controller.show('a.glb');
      await tester.pump();
      expect(find.byType(Texture), findsOneWidget);
      await controller.stop();
      await controller.start();
      await tester.pump();
      expect(tester.widget<Texture>(find.byType(Texture)).textureId, 8);
      await leave(tester);
      expect(controller.isRendering, isTrue);
      controller.dispose();
      await tester.pump();
    });

    testWidgets('closes while the application is hidden, and opens again', (WidgetTester tester) async {
      await show(tester, const OrbiskView(model: 'a.glb'));
      plugin.calls.clear();
      tester.binding.handleAppLifecycleStateChanged(AppLifecycleState.inactive);
      await tester.pump();
      expect(plugin.steps, isEmpty);
      tester.binding.handleAppLifecycleStateChanged(AppLifecycleState.paused);
      await tester.pump();
      expect(plugin.steps, <String>['dispose']);
      tester.binding.handleAppLifecycleStateChanged(AppLifecycleState.resumed);
      await tester.pump();
      await tester.pump();
      expect(plugin.steps, <String>['dispose', 'dispose', 'createTexture', 'loadModel', 'startRendering']);
      expect(find.byType(Texture), findsOneWidget);
      await leave(tester);
    });

    testWidgets('closes while another page covers it, and opens again', (WidgetTester tester) async {
      Widget page({required bool isOnStage}) =>
          TickerMode(enabled: isOnStage, child: const OrbiskView(model: 'a.glb'));
      await show(tester, page(isOnStage: true));
      plugin.calls.clear();
      await show(tester, page(isOnStage: false));
      expect(plugin.steps, <String>['dispose']);
      await show(tester, page(isOnStage: true));
      expect(plugin.steps, <String>['dispose', 'dispose', 'createTexture', 'loadModel', 'startRendering']);
      await leave(tester);
    });

    testWidgets('stays open on request, and then opens again only if another has taken the viewer',
        (WidgetTester tester) async {
      Widget page({required bool isOnStage}) =>
          TickerMode(enabled: isOnStage, child: const OrbiskView(model: 'a.glb', closesWhenHidden: false));
      await show(tester, page(isOnStage: true));
      plugin.calls.clear();
      await show(tester, page(isOnStage: false));
      await show(tester, page(isOnStage: true));
      expect(plugin.steps, isEmpty);

      await show(tester, page(isOnStage: false));
      final OrbiskController other = OrbiskController();
      await other.show('b.glb');
      await tester.pump();
      expect(find.byType(Texture), findsNothing);
      expect(find.byType(Text), findsNothing); // no failure
      await show(tester, page(isOnStage: true));
      expect(find.byType(Texture), findsOneWidget);
      expect(other.isOpen, isFalse);
      other.dispose();
      await leave(tester);
    });

    testWidgets('may go while it opens', (WidgetTester tester) async {
      plugin.hold('createTexture');
      await show(tester, const OrbiskView(model: 'a.glb'));
      await tester.pumpWidget(const SizedBox());
      plugin.letGo('createTexture');
      await tester.pump();
      expect(plugin.steps, <String>['dispose', 'createTexture', 'dispose']);
      expect(tester.takeException(), isNull);
    });

    testWidgets('says to a screen reader what it shows', (WidgetTester tester) async {
      final SemanticsHandle semantics = tester.ensureSemantics();
      await show(tester, const OrbiskView(model: 'a.glb', semanticsLabel: 'the drill'));
      expect(
        tester.getSemantics(find.bySemanticsLabel('the drill')),
        matchesSemantics(label: 'the drill', isImage: true, textDirection: TextDirection.ltr),
      );
      semantics.dispose();
      await leave(tester);
    });
  });

  group('Orbisk', () {
    testWidgets('turns the model as the stream says, by way of frame and mounting', (WidgetTester tester) async {
      final StreamController<Quaternion> imu = StreamController<Quaternion>();
      await show(
        tester,
        Orbisk(
          model: 'a.glb',
          orientation: imu.stream,
          transform: const OrientationTransform(frame: EarthFrame.ned),
        ),
      );
      await tester.pump(const Duration(milliseconds: 50));
      imu.add(Quaternion.identity);
      await tester.pump(const Duration(milliseconds: 50));
      expect(
        plugin.callsOf('setQuaternion').last.arguments,
        <String, double>{'x': 0.5, 'y': 0.5, 'z': -0.5, 'w': 0.5},
      );
      await leave(tester);
      expect(imu.hasListener, isFalse);
    });

    testWidgets('leaves out what is not finite, and goes on after an error', (WidgetTester tester) async {
      final StreamController<Quaternion> imu = StreamController<Quaternion>();
      await show(tester, Orbisk(model: 'a.glb', orientation: imu.stream));
      await tester.pump(const Duration(milliseconds: 50));
      imu.add(const Quaternion(double.nan, 0, 0, 1));
      imu.addError(const FormatException('a damaged line'));
      await tester.pump();
      expect(tester.takeException(), isFormatException);
      imu.add(const Quaternion(0, 0, 1, 0));
      await tester.pump(const Duration(milliseconds: 50));
      expect(plugin.callsOf('setQuaternion'), hasLength(2)); // the first is the new viewer's
      await leave(tester);
    });

    testWidgets('marks a sensor that has fallen silent', (WidgetTester tester) async {
      final StreamController<Quaternion> imu = StreamController<Quaternion>();
      await show(
        tester,
        Orbisk(
          model: 'a.glb',
          orientation: imu.stream,
          overlayBuilder: (BuildContext context, OrbiskHealth health) => Text(health.condition.name),
        ),
      );
      imu.add(Quaternion.identity);
      await tester.pump(const Duration(milliseconds: 200));
      await tester.pump();
      expect(find.text('live'), findsOneWidget);
      await tester.pump(const Duration(seconds: 2));
      await tester.pump();
      expect(find.text('stale'), findsOneWidget);
      await leave(tester);
    });

    testWidgets('follows another stream', (WidgetTester tester) async {
      final StreamController<Quaternion> first = StreamController<Quaternion>();
      final StreamController<Quaternion> second = StreamController<Quaternion>();
      await show(tester, Orbisk(model: 'a.glb', orientation: first.stream));
      await show(tester, Orbisk(model: 'a.glb', orientation: second.stream));
      expect(first.hasListener, isFalse);
      expect(second.hasListener, isTrue);
      expect(plugin.callsOf('createTexture'), hasLength(1));
      await leave(tester);
    });

    testWidgets('shows timed samples from frame to frame', (WidgetTester tester) async {
      final StreamController<OrientationSample> imu = StreamController<OrientationSample>();
      await show(tester, Orbisk.smooth(model: 'a.glb', samples: imu.stream, delay: Duration.zero));
      imu.add(const OrientationSample(time: Duration.zero, orientation: Quaternion(0, 0, 1, 0)));
      for (int i = 0; i < 5; i++) {
        await tester.pump(const Duration(milliseconds: 20));
      }
      expect(plugin.callsOf('setQuaternion').last.arguments, <String, double>{'x': 0, 'y': 0, 'z': 1, 'w': 0});
      await leave(tester);
    });
  });
}
