// The server's answers, and its errors in words for people.
import { say } from './say.js';
import { texts } from './texts.js';

// code: a word to decide by; "gone" when there is no server any more.
export class ApiError extends Error {
  constructor(message, code) {
    super(message);
    this.code = code;
  }
}

export const get = (path, signal) => answer(path, { signal });
export const post = (path, body = {}) =>
  answer(path, { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) });

async function answer(path, request) {
  let response;
  try {
    response = await fetch(`api/${path}`, { cache: 'no-store', ...request });
  } catch (error) {
    if (error.name === 'AbortError') throw error;
    throw new ApiError(texts.errors.gone, 'gone');
  }
  const result = await response.json().catch(() => null);
  if (response.ok && result !== null) return result;
  const reason = result?.error ?? `${response.status} ${response.statusText}`;
  if (result?.code === 'busy') throw new ApiError(texts.errors.busy, 'busy');
  throw new ApiError(result?.error ?? say(texts.errors.unknown, { reason }), result?.code ?? 'unknown');
}

// How the server is told which file is meant: its id where its name could not be written down.
export const fileOf = (file) => (file.id ? { id: file.id } : { path: file.path });
