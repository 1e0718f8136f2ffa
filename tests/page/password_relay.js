// What stands between the web server and the server that checks passwords, and may fail.
import { connect, createServer } from 'node:net';

const { imap_port: port } = JSON.parse(process.env.PAGE_SERVER);

/** Passes all on, or hangs, or takes no connections, as it is told. */
export class PasswordRelay {
  #isHanging = false;
  #connections = new Set();
  #server = createServer((client) => this.#take(client));

  /** The address for the web server, once it listens. */
  async address() {
    await this.listen();
    return `imaps://localhost:${this.port}`;
  }

  listen() {
    return new Promise((resolve) => {
      this.#server.listen(this.port ?? 0, '127.0.0.1', () => {
        this.port = this.#server.address().port;
        resolve();
      });
    });
  }

  /** From now on, connections get no answer, or do again. */
  hang(isHanging) {
    this.#isHanging = isHanging;
  }

  /** Refuses connections, until it listens again. */
  close() {
    for (const each of this.#connections) each.destroy();
    return new Promise((resolve) => this.#server.close(resolve));
  }

  #take(client) {
    this.#keep(client);
    if (this.#isHanging) return;
    const server = connect(port, '127.0.0.1');
    this.#keep(server);
    client.pipe(server).pipe(client);
  }

  #keep(connection) {
    this.#connections.add(connection);
    connection.on('error', () => connection.destroy()); // the other end hung up
    connection.on('close', () => this.#connections.delete(connection));
  }
}
