import 'dart:async';

import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/src/latest_sender.dart';

/// Values that are numbers, and answers that come when the test says so.
class Answers {
  final List<int> sent = <int>[];
  final List<Completer<void>> _answers = <Completer<void>>[];
  final List<Object> failures = <Object>[];

  SendValue value(int number) => () {
        sent.add(number);
        final Completer<void> answer = Completer<void>();
        _answers.add(answer);
        return answer.future;
      };

  LatestSender sender([Duration interval = Duration.zero]) => LatestSender(
        initial: value(0),
        interval: interval,
        onFailure: (Object error, StackTrace stackTrace) => failures.add(error),
      );

  void answer() => _answers.removeAt(0).complete();

  void fail(Object error) => _answers.removeAt(0).completeError(error);
}

void main() {
  testWidgets('one is under way, the newest goes next, what came between is dropped', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender();
    sender.open();
    for (int i = 1; i <= 5; i++) {
      sender.offer(answers.value(i));
    }
    expect(answers.sent, <int>[0]);
    answers.answer();
    await tester.pump();
    expect(answers.sent, <int>[0, 5]);
    answers.answer();
    await tester.pump();
    expect(answers.sent, <int>[0, 5]);
    expect(sender.sent, 2);
    expect(sender.superseded, 4);
  });

  testWidgets('a value goes at once where nothing is under way', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender();
    sender.open();
    answers.answer();
    await tester.pump();
    sender.offer(answers.value(1));
    expect(answers.sent, <int>[0, 1]);
    expect(sender.superseded, 0);
  });

  testWidgets('values keep their distance in time', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender(const Duration(milliseconds: 33));
    sender.open();
    answers.answer();
    await tester.pump();
    sender.offer(answers.value(1));
    sender.offer(answers.value(2));
    await tester.pump(const Duration(milliseconds: 32));
    expect(answers.sent, <int>[0]);
    await tester.pump(const Duration(milliseconds: 1));
    expect(answers.sent, <int>[0, 2]);
    sender.close();
  });

  testWidgets('while closed values are kept, and the newest goes first', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender();
    sender.offer(answers.value(1));
    sender.offer(answers.value(2));
    expect(answers.sent, isEmpty);
    sender.open();
    expect(answers.sent, <int>[2]);
    expect(sender.superseded, 0);
  });

  testWidgets('an answer from before does not let a second value out', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender();
    sender.open();
    sender.close();
    sender.open();
    sender.offer(answers.value(1));
    expect(answers.sent, <int>[0, 0]);
    answers.answer(); // the first opening's
    await tester.pump();
    expect(answers.sent, <int>[0, 0]);
    answers.answer();
    await tester.pump();
    expect(answers.sent, <int>[0, 0, 1]);
  });

  testWidgets('a failure is told, and the next value goes', (WidgetTester tester) async {
    final Answers answers = Answers();
    final LatestSender sender = answers.sender();
    sender.open();
    sender.offer(answers.value(1));
    answers.fail('no');
    await tester.pump();
    expect(answers.failures, <Object>['no']);
    expect(answers.sent, <int>[0, 1]);
  });
}
