// What a report has to tell beside the mail that arrived: groups of entries, the gravest first.
import { folderName, number } from './say.js';
import { texts } from './texts.js';

// {title, advice, level: 'lost' | 'changed' | 'note', total, items: [{place, text, more}]}
export function findingsOf(report) {
  const totals = report.totals ?? {};
  const words = texts.findings;
  const passed = report.passedOver ?? [];
  const groups = [
    group('lost', words.failures, report.failures, ofMessage, totals.failed),
    group('lost', words.leftBehind, passed.filter((entry) => entry.leftBehind), ofPath, totals.pathsLeftBehind),
    group('lost', words.readFailures, report.readFailures, ofPath, totals.readFailures),
    group('lost', words.foldersNotBegun, report.foldersNotBegun, ofFolder),
    group('lost', words.refused, remarks(report, 'refused'), ofMessage, totals.remarks?.refused),
    group('lost', words.folderRefusals, report.folderRefusals, ofFolder, totals.folderRefusals),
    group('lost', words.profilesInUse, report.profilesInUse, (path) => ({ place: path, text: '' })),
    group('changed', words.partsLeftOut, report.partsLeftOut, ofPart, totals.partsLeftOut),
    group('changed', words.indexesNotUsed, report.indexesNotUsed, ofPath, totals.indexesNotUsed),
    ...Object.keys(totals.remarks ?? {}).filter((code) => code !== 'refused').map((code) =>
      group('changed', words.remarks[code] ?? { title: code }, remarks(report, code), ofMessage, totals.remarks[code])),
    group('note', words.suspectedSeparators, report.suspectedSeparators, ofSeparator, totals.suspectedSeparators),
    group('note', words.duplicates, report.duplicates, ofDuplicate, totals.copiesLeftOut),
    group('note', words.renamedFolders, report.renamedFolders, ofRenamed),
    group('note', words.continuedFolders, report.continuedFolders, (entry) => ({ place: folderName(entry.path), text: folderName(entry.next) })),
    group('note', words.foldersNotChosen, report.foldersNotChosen, ofFolder, totals.foldersNotChosen),
    group('note', words.oldParts, report.oldParts, (path) => ({ place: path, text: '' })),
    group('note', words.passedOver, passed.filter((entry) => !entry.leftBehind), ofPath),
  ];
  return groups.filter((one) => one.total > 0);
}

function group(level, words, entries, shape, total) {
  const items = (entries ?? []).map(shape);
  return { level, title: words.title, advice: words.advice, items, total: Math.max(total ?? 0, items.length) };
}

const remarks = (report, code) => (report.remarks ?? []).filter((entry) => entry.code === code);

const joined = (...parts) => parts.filter((part) => part !== null && part !== undefined && part !== '').join(' · ');

function position(entry) {
  const known = entry.position ? `${texts.findings.message} ${number(entry.position)}` : null;
  return joined(folderName(entry.folder ?? []), known);
}

// A remark's reason is the title of its group.
function ofMessage(entry) {
  const reason = entry.details === undefined ? null : entry.reason;
  const where = entry.offset === undefined ? entry.source : `${entry.source}, ${texts.findings.byte} ${number(entry.offset)}`;
  return { place: position(entry), text: joined(reason, entry.place, entry.text, entry.details), more: joined(where, entry.messageId) };
}

const ofPath = (entry) => ({ place: entry.path, text: joined(entry.reason, entry.detail), more: texts.findings.toDo[entry.leftBehind ? entry.code : ''] ?? entry.advice });
const ofFolder = (entry) => ({ place: folderName(entry.path), text: joined(entry.place, entry.text), more: entry.source });
const ofPart = (entry) => ({ place: position(entry), text: joined(entry.name, entry.contentType), more: entry.source });
const ofDuplicate = (entry) => ({ place: position(entry), text: `${texts.findings.copyIn} ${folderName(entry.copyIn ?? [])}`, more: joined(entry.source, entry.messageId) });
const ofRenamed = (entry) => ({ place: folderName(entry.path), text: `${texts.findings.wanted} ${entry.wanted}` });
const ofSeparator = (entry) => ({
  place: folderName(entry.folder ?? []),
  text: joined(entry.reason, entry.line),
  more: `${entry.source}, ${texts.findings.byte} ${number(entry.offset)}`,
});
