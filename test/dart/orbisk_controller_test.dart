import 'package:flutter/services.dart';
import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/orbisk.dart';

import 'support/mock_plugin.dart';

const Duration second = Duration(seconds: 1);

PlatformException refusal(String code) => PlatformException(code: code, message: 'because');

void main() {
  TestWidgetsFlutterBinding.ensureInitialized();

  late MockPlugin plugin;
  late OrbiskController controller;

  setUp(() {
    plugin = MockPlugin()..install();
    controller = OrbiskController(updateInterval: Duration.zero);
  });
  tearDown(() async {
    controller.dispose();
    await pumpEventQueue();
    plugin.remove();
  });

  OrbiskCondition condition() => controller.health.value.condition;

  group('what there is', () {
    test('the first thing that an isolate sends is "dispose"', () async {
      await controller.open();
      expect(plugin.calls.first.method, 'dispose');
      expect(plugin.calls[1].method, 'createTexture');
      expect(plugin.calls[1].arguments, <String, int>{'width': 640, 'height': 480});
    });

    test('calls need not be awaited', () async {
      final Future<void> opened = controller.open(width: 320, height: 240);
      final Future<void> loaded = controller.load('assets/device.glb');
      await controller.start();
      await opened;
      await loaded;
      expect(plugin.steps, <String>['dispose', 'createTexture', 'loadModel', 'startRendering']);
      expect(plugin.callsOf('loadModel').single.arguments, <String, String>{'modelPath': 'assets/device.glb'});
      expect(controller.textureId.value, 7);
      expect(controller.isRendering, isTrue);
    });

    test('show is all three', () async {
      await controller.show('a.glb');
      expect(plugin.steps, <String>['dispose', 'createTexture', 'loadModel', 'startRendering']);
      expect(condition(), OrbiskCondition.noSamples);
    });

    test('a call out of order is refused with a reason', () async {
      await expectLater(controller.load('a.glb'), throwsA(isA<OrbiskNotInitializedException>()));
      await expectLater(controller.start(), throwsA(isA<OrbiskNotInitializedException>()));
      await controller.open();
      await expectLater(controller.start(), throwsA(isA<OrbiskNoModelException>()));
      expect(plugin.steps, <String>['dispose', 'createTexture']);
    });

    test('a second start sends nothing', () async {
      await controller.show('a.glb');
      await controller.start();
      expect(plugin.callsOf('startRendering'), hasLength(1));
    });

    test('a start after a stop makes a new texture, with everything in it', () async {
      await controller.show('a.glb', width: 320, height: 240);
      controller.setOrientation(const Quaternion(0, 0, 1, 0));
      controller.setCameraDistance(5);
      await pumpEventQueue();
      final List<int?> textures = <int?>[];
      controller.textureId.addListener(() => textures.add(controller.textureId.value));
      await controller.stop();
      expect(condition(), OrbiskCondition.notStarted);
      plugin.calls.clear();

      await controller.start();
      await pumpEventQueue();
      expect(plugin.steps, <String>['dispose', 'createTexture', 'loadModel', 'startRendering']);
      expect(plugin.callsOf('createTexture').single.arguments, <String, int>{'width': 320, 'height': 240});
      expect(plugin.callsOf('setQuaternion').last.arguments, <String, double>{'x': 0, 'y': 0, 'z': 1, 'w': 0});
      expect(plugin.callsOf('setCameraDistance').last.arguments, <String, double>{'distance': 5});
      expect(plugin.callsOf('setModelScale').last.arguments, <String, double>{'scale': 1.2});
      expect(textures, <int?>[null, 8]);
    });

    test('stop and close where there is nothing send nothing', () async {
      await controller.stop();
      await controller.close();
      expect(plugin.calls, isEmpty);
    });

    test('a controller that is closed while it opens ends closed', () async {
      plugin.hold('createTexture');
      final Future<void> opened = controller.show('a.glb');
      final Future<void> refused = expectLater(opened, throwsA(isA<OrbiskOvertakenException>()));
      await pumpEventQueue();
      final Future<void> closed = controller.close();
      plugin.letGo('createTexture');
      await refused;
      await closed;
      expect(plugin.steps, <String>['dispose', 'createTexture', 'dispose']);
      expect(controller.textureId.value, isNull);
      expect(controller.health.value, const OrbiskHealth(OrbiskCondition.noTexture));
    });

    test('a controller that is disposed of while it opens ends closed', () async {
      plugin.hold('createTexture');
      final Future<void> refused = expectLater(controller.open(), throwsA(isA<OrbiskOvertakenException>()));
      await pumpEventQueue();
      controller.dispose();
      plugin.letGo('createTexture');
      await refused;
      await pumpEventQueue();
      expect(plugin.steps, <String>['dispose', 'createTexture', 'dispose']);
      expect(() => controller.setModelScale(1), throwsStateError);
      await expectLater(controller.open(), throwsStateError);
    });

    test('a second open overtakes the first', () async {
      final Future<void> first = expectLater(controller.open(), throwsA(isA<OrbiskOvertakenException>()));
      await controller.open(width: 320, height: 240);
      await first;
      expect(plugin.callsOf('createTexture').single.arguments, <String, int>{'width': 320, 'height': 240});
    });

    test('another controller takes the viewer, and the first is told', () async {
      await controller.show('a.glb');
      final OrbiskController other = OrbiskController(updateInterval: Duration.zero);
      await other.show('b.glb');
      expect(controller.textureId.value, isNull);
      expect(controller.health.value.error, isA<OrbiskOvertakenException>());
      plugin.calls.clear();
      await controller.close(); // does not close the other one's viewer
      expect(plugin.calls, isEmpty);
      expect(other.isRendering, isTrue);
      other.dispose();
    });

    test('a model can be changed while rendering', () async {
      await controller.show('a.glb');
      await controller.load('b.glb');
      expect(plugin.steps, <String>['dispose', 'createTexture', 'loadModel', 'startRendering', 'loadModel']);
      expect(controller.isRendering, isTrue);
    });

    test('a path or a size that cannot be is refused before anything is sent', () async {
      await expectLater(controller.load(''), throwsArgumentError);
      for (final (int width, int height) in <(int, int)>[(0, 480), (640, -1), (1 << 16, 1 << 14), (1 << 40, 1 << 40)]) {
        await expectLater(controller.open(width: width, height: height), throwsArgumentError);
      }
      expect(plugin.calls, isEmpty);
    });
  });

  group('what is seen', () {
    test('every new viewer is given all values', () async {
      await controller.open();
      await pumpEventQueue();
      expect(plugin.callsOf('setQuaternion').single.arguments, <String, double>{'x': 0, 'y': 0, 'z': 0, 'w': 1});
      expect(plugin.callsOf('setBaseRotation').single.arguments, <String, double>{'roll': 0, 'pitch': 0, 'yaw': 0});
      expect(plugin.callsOf('setCameraDistance').single.arguments, <String, double>{'distance': 3.5});
      expect(plugin.callsOf('setModelScale').single.arguments, <String, double>{'scale': 1.2});
    });

    test('numbers go as doubles, whole ones too', () async {
      controller.setOrientation(const Quaternion(1, 0, 0, 0));
      controller.setModelScale(2);
      await controller.open();
      await pumpEventQueue();
      for (final MethodCall call in plugin.calls.where((MethodCall call) => call.method.startsWith('set'))) {
        for (final Object? value in (call.arguments as Map<Object?, Object?>).values) {
          expect(value, isA<double>(), reason: call.method);
        }
      }
    });

    test('a fast sensor costs one message at a time, and the newest wins', () async {
      await controller.open();
      await pumpEventQueue();
      plugin.calls.clear();
      plugin.hold('setQuaternion');
      for (int i = 1; i <= 1000; i++) {
        controller.setOrientation(Quaternion(0, 0, 0, i.toDouble()));
      }
      await pumpEventQueue();
      expect(plugin.callsOf('setQuaternion'), hasLength(1));
      plugin.letGo('setQuaternion');
      await pumpEventQueue();
      expect(plugin.callsOf('setQuaternion'), hasLength(2));
      expect(plugin.callsOf('setQuaternion').last.arguments, <String, double>{'x': 0, 'y': 0, 'z': 0, 'w': 1000});
      expect(controller.figures, const OrbiskFigures(samples: 1000, sent: 3, superseded: 998));
    });

    testWidgets('a thousand samples a second are no more messages than thirty', (WidgetTester tester) async {
      final OrbiskController paced = OrbiskController();
      await paced.open();
      for (int i = 0; i < 1000; i++) {
        paced.setOrientation(Quaternion(0, 0, 0, i.toDouble()));
        await tester.pump(const Duration(milliseconds: 1));
      }
      expect(plugin.callsOf('setQuaternion').length, inInclusiveRange(29, 32));
      paced.dispose();
      await tester.pump(second);
    });

    test('angles go in the plug-in\'s own order', () async {
      controller.setRotation(const EulerAngles(roll: 1, pitch: 2, yaw: 3));
      await controller.open();
      expect(plugin.callsOf('setRotation').single.arguments, <String, double>{'roll': 1, 'pitch': 2, 'yaw': 3});
      expect(plugin.callsOf('setQuaternion'), isEmpty);
    });

    test('the reference orientation is turned about the axes that the plug-in takes', () async {
      controller.setReferenceOrientation(const EulerAngles(roll: 10, pitch: 20, yaw: 30).toQuaternion());
      await controller.open();
      final Map<Object?, Object?> sent =
          plugin.callsOf('setBaseRotation').single.arguments as Map<Object?, Object?>;
      expect(sent['roll'], closeTo(20, 1e-9)); // about Y
      expect(sent['pitch'], closeTo(10, 1e-9)); // about X
      expect(sent['yaw'], closeTo(30, 1e-9));
    });

    test('numbers that are not finite are refused', () {
      const double none = double.nan;
      expect(() => controller.setOrientation(const Quaternion(none, 0, 0, 1)), throwsArgumentError);
      expect(() => controller.setRotation(const EulerAngles(yaw: none)), throwsArgumentError);
      expect(() => controller.setReferenceOrientation(const Quaternion(0, 0, none, 1)), throwsArgumentError);
      expect(() => controller.setCameraDistance(double.infinity), throwsArgumentError);
      expect(() => controller.setModelScale(none), throwsArgumentError);
      expect(controller.figures.samples, 0);
    });
  });

  group('what fails', () {
    final Map<String, Matcher> types = <String, Matcher>{
      'INVALID_ARGS': isA<OrbiskInvalidArgumentsException>(),
      'NOT_INITIALIZED': isA<OrbiskNotInitializedException>(),
      'INIT_FAILED': isA<OrbiskInitFailedException>(),
      'SHADER_FAILED': isA<OrbiskShaderFailedException>(),
      'LOAD_FAILED': isA<OrbiskLoadFailedException>(),
      'NO_MODEL': isA<OrbiskNoModelException>(),
      'SOMETHING_NEW': isA<OrbiskUnknownException>(),
    };
    for (final MapEntry<String, Matcher> type in types.entries) {
      test('${type.key} is an exception of its own', () async {
        plugin.failures['createTexture'] = refusal(type.key);
        await expectLater(
          controller.open(),
          throwsA(allOf(
            type.value,
            isA<OrbiskException>()
                .having((OrbiskException error) => error.code, 'code', type.key)
                .having((OrbiskException error) => error.message, 'message', 'because'),
          )),
        );
        expect(condition(), OrbiskCondition.noTexture);
        expect(controller.health.value.error?.code, type.key);
        expect(controller.textureId.value, isNull);
        expect(plugin.steps, <String>['dispose', 'createTexture', 'dispose']);
      });
    }

    test('a plug-in that is not there is told with cause and cure', () async {
      plugin.remove();
      await expectLater(
        controller.open(),
        throwsA(isA<OrbiskPluginMissingException>()
            .having((OrbiskException error) => error.message, 'message', contains('pubspec.yaml'))),
      );
      await controller.close();
    });

    test('an identifier below zero never reaches the widget', () async {
      plugin.nextTexture = -1;
      await expectLater(controller.open(), throwsA(isA<OrbiskInitFailedException>()));
      expect(controller.textureId.value, isNull);
    });

    test('a model that cannot be loaded leaves none, and the next one can be', () async {
      await controller.show('a.glb');
      plugin.failures['loadModel'] = refusal('LOAD_FAILED');
      await expectLater(controller.load('b.glb'), throwsA(isA<OrbiskLoadFailedException>()));
      expect(condition(), OrbiskCondition.noModel);
      expect(controller.health.value.words, 'No model is loaded. because');
      plugin.failures.clear();
      await controller.load('c.glb');
      expect(controller.health.value, const OrbiskHealth(OrbiskCondition.noSamples));
    });

    test('what comes after a failing step of show is left out', () async {
      plugin.failures['loadModel'] = refusal('LOAD_FAILED');
      await expectLater(controller.show('a.glb'), throwsA(isA<OrbiskLoadFailedException>()));
      expect(plugin.callsOf('startRendering'), isEmpty);
    });

    test('after a failure it can be opened again', () async {
      plugin.failures['createTexture'] = refusal('INIT_FAILED');
      await expectLater(controller.open(), throwsA(isA<OrbiskInitFailedException>()));
      plugin.failures.clear();
      await controller.open();
      expect(controller.textureId.value, 7);
      expect(controller.health.value.error, isNull);
    });
  });

  group('health', () {
    test('goes from nothing to live, one step after the other', () async {
      final List<OrbiskCondition> seen = <OrbiskCondition>[];
      controller.health.addListener(() => seen.add(condition()));
      await controller.open();
      await controller.load('a.glb');
      await controller.start();
      controller.setOrientation(Quaternion.identity);
      await controller.close();
      expect(seen, <OrbiskCondition>[
        OrbiskCondition.opening,
        OrbiskCondition.noModel,
        OrbiskCondition.notStarted,
        OrbiskCondition.noSamples,
        OrbiskCondition.live,
        OrbiskCondition.noTexture,
      ]);
    });

    testWidgets('a sensor that falls silent is stale, until it speaks again', (WidgetTester tester) async {
      final OrbiskController watching = OrbiskController(updateInterval: Duration.zero, staleAfter: second);
      await watching.show('a.glb');
      for (int i = 0; i < 30; i++) {
        watching.setOrientation(Quaternion.identity);
        await tester.pump(const Duration(milliseconds: 100));
        expect(watching.health.value.condition, OrbiskCondition.live);
      }
      await tester.pump(const Duration(milliseconds: 850));
      expect(watching.health.value.condition, OrbiskCondition.live);
      await tester.pump(const Duration(milliseconds: 600));
      expect(watching.health.value.condition, OrbiskCondition.stale);
      expect(watching.health.value.hasPicture, isTrue);
      watching.setOrientation(Quaternion.identity);
      expect(watching.health.value.condition, OrbiskCondition.live);
      watching.dispose();
      await tester.pump();
    });

    test('a listener may remove itself while it is told', () async {
      int told = 0;
      void listener() {
        told++;
        controller.health.removeListener(listener);
      }

      controller.health.addListener(listener);
      await controller.show('a.glb');
      expect(told, 1);
    });

    test('nothing is told to listeners in the middle of a call', () {
      bool told = false;
      controller.health.addListener(() => told = true);
      controller.open().ignore();
      expect(told, isFalse);
      controller.close().ignore();
      expect(told, isFalse);
    });
  });
}
